# SPDX-License-Identifier: MIT
"""The closing lines of a run."""

import collections

CAUGHT = ("test", "time")


def report(mutants, results, count, seed, equivalent):
    """Prints survivors and figures of the first `count` mutants that compile; returns the percentage."""
    judged, stillborn = [], 0
    for mutant in mutants:
        if len(judged) == count:
            break
        result = results.find(mutant)
        if result and result["outcome"] == "does not compile":
            stillborn += 1
        elif result:
            judged.append(result)
    for result in judged:
        if result["outcome"] == "survives":
            print(f"{result['file']}:{result['line']}: survives\n"
                  f"  - {result['before'].strip()}\n  + {result['after'].strip()}")
    by_name(judged, "operator", lambda result: result["operator"])
    by_name(judged, "folder", lambda result: result["file"].rpartition("/")[0])
    return closing(judged, stillborn, seed, equivalent)


def by_name(judged, title, name_of):
    total = collections.Counter(name_of(result) for result in judged)
    caught = collections.Counter(name_of(result) for result in judged
                                 if result["outcome"] in CAUGHT)
    for name in sorted(total):
        print(f"mutants: {title} {name}: {caught[name]} of {total[name]} caught")


def closing(judged, stillborn, seed, equivalent):
    total = len(judged)
    caught = sum(1 for result in judged if result["outcome"] in CAUGHT)
    by_time = sum(1 for result in judged if result["outcome"] == "time")
    share = 100 * caught / total if total else 0
    print(f"mutants: {caught} of {total} caught ({share:.1f} %, {by_time} by the time limit), "
          f"seed {seed}, {equivalent} equivalent, {stillborn} did not compile")
    return share
