// SPDX-License-Identifier: MIT
#include "host/cache/CacheOptions.h"

#include <limits>

#include "host/options/CommandNotes.h"
#include "host/options/OptionTypes.h"

namespace orlo::host {

void DeclareCacheOptions(CLI::App& command, CacheOptions& options) {
    command.require_subcommand(1);
    const auto add = [&](const char* name, const char* description, CacheAction action) {
        CLI::App* sub = command.add_subcommand(name, description);
        sub->fallthrough();
        sub->callback([&options, action] { options.action = action; });
        return sub;
    };
    add("ls", "List cache files and records", CacheAction::List);
    add("du", "Show the disk space that the cache uses", CacheAction::DiskUse);
    CLI::App* check =
        add("check", "Find missing, damaged and unrecorded cache files", CacheAction::Check);
    check->add_flag("--deep", options.deep, "Read every file; compare checksums and media files");
    CLI::App* clean =
        add("clean", "Remove cache files by days without use and by size", CacheAction::Clean);
    clean
        ->add_option("--days", options.days,
                     "Days without use; 0 removes all (default: --keep-days)")
        ->type_name("N")
        ->transform(WholeNumber(0, std::numeric_limits<int>::max()));
    clean
        ->add_option("--max-size", options.maxSize,
                     "Remove files beyond SIZE, the longest unused first (default: --cache-size)")
        ->type_name("SIZE")
        ->transform(SizeFrom(0));
    clean->add_flag("--orphans", options.orphans, "Also remove files without a record");
    clean->add_flag("--dry-run", options.dryRun, "Only list the files");
    AddNotes(
        command, EXAMPLES,
        {{"sonrel cache du", "Show the size of the cache"},
         {"sonrel cache clean --max-size 20G", "Remove the longest unused files beyond 20 GiB"},
         {"sonrel cache check --deep", "Look for damaged files"}});
    AddNotes(command, EXIT_CODES,
             {{"1", "The job failed, a file cannot be removed, or check --deep finds a fault"}});
}

}  // namespace orlo::host
