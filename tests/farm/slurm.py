# SPDX-License-Identifier: MIT
"""Plans that Slurm runs: a node that is killed, and a task that fails and is repeated."""

from cluster import Cluster
from reels import write_noise, write_reel
from running import catch, environment, output_of, wait_for
from workshop import PARTS

KEPT, KILLED = "node1", "node2"


def submit(shop, cluster, timelines, out, parts):
    """Submits a plan. Returns the numbers of its two arrays."""
    script = out.with_suffix(".sh")
    script.write_text(shop.plan(timelines, out, parts, "--for", "slurm"))
    return cluster.submit(script, out.with_suffix(".logs"))


def expect_states(shop, cluster, array, states):
    found = cluster.states(array)
    shop.expect(found == states, f"the tasks of array {array} are {found} instead of {states}")


def all_completed(count):
    return {str(number): "COMPLETED" for number in range(1, count + 1)}


def kill_node(shop, cluster, out):
    """Kills a node while it writes a part. Returns the number of the task."""
    wait_for("the first parts", lambda: len(list(out.glob("*.part-*"))) >= len(shop.reels) // 2)
    process = catch(shop.program, out, cluster.runs_on(KILLED))
    task, part = environment(process)["SLURM_ARRAY_TASK_ID"], output_of(process)
    done = len(list(out.glob("*.part-*")))
    cluster.kill_node(KILLED, process)
    shop.expect(not part.exists(), f"{part} exists, and its command was killed")
    shop.say(f"  killed {KILLED} after {done} parts, while task {task} wrote {part.name}")
    return task


def resume_after_a_killed_node(shop, cluster):
    out = shop.new_folder("killed")
    parts, joins = submit(shop, cluster, shop.reels, out, PARTS)
    tasks = PARTS * len(shop.reels)
    shop.say(f"Slurm: {tasks} tasks on {KEPT} and {KILLED}, then {len(shop.reels)} joins")
    task = kill_node(shop, cluster, out)
    wait_for("the task to be queued again", lambda: cluster.states(parts)[task] == "PENDING")
    cluster.start_now(f"{parts}_{task}")
    cluster.wait_until_idle()
    record = cluster.records(parts)[task]
    shop.expect((record["Restarts"], record["NodeList"]) == ("1", KEPT),
                f"task {task} had {record['Restarts']} restarts and ran on {record['NodeList']}")
    shop.say(f"  {KILLED} is {cluster.state_of_node(KILLED)}; task {task} was repeated on {KEPT}")
    expect_states(shop, cluster, parts, all_completed(tasks))
    expect_states(shop, cluster, joins, all_completed(len(shop.reels)))
    shop.expect_mixes(out, shop.reels, PARTS)


def late_reels(shop):
    """Two timelines, and the media file of the second, which is not on the nodes yet."""
    media = shop.folder / "reels" / "late.wav"
    write_noise(media, 48000, 7)
    found = [write_reel(shop.folder / "reels" / name, seed, [used])
             for name, seed, used in (("ready.otio", 31, "voice.wav"), ("late.otio", 32, "late.wav"))]
    for reel in found:
        shop.mix_whole(reel)
    media.rename(media.with_suffix(".away"))
    return found, media


def repeat_failed_tasks(shop, cluster):
    out = shop.new_folder("failed")
    timelines, media = late_reels(shop)
    parts, joins = submit(shop, cluster, timelines, out, 2)
    shop.say("Slurm: two timelines, of which one has no media file on the nodes")
    cluster.wait_until_idle()
    expect_states(shop, cluster, parts, {**all_completed(2), "3": "FAILED", "4": "FAILED"})
    expect_states(shop, cluster, joins, {"1": "COMPLETED", "2": "FAILED"})
    shop.expect((out / "ready.wav").exists() and not (out / "late.wav").exists(),
                "only the mix of the complete timeline is written")
    shop.say("  its tasks and its join failed, and the other mix is written")
    media.with_suffix(".away").rename(media)
    cluster.repeat(parts, ("3", "4"))
    cluster.repeat(joins, ("2",))
    shop.say("  the tasks and the join were repeated with the media file")
    shop.expect_mixes(out, timelines, 2)


def run(shop):
    with Cluster(shop.folder / "slurm", (KEPT, KILLED), shop.variables) as cluster:
        resume_after_a_killed_node(shop, cluster)
        cluster.start_node(KILLED)
        repeat_failed_tasks(shop, cluster)
