// SPDX-License-Identifier: MIT
#include "host/output/OutputGuard.h"

#include <filesystem>

#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

namespace fs = std::filesystem;

/// Key of a name: the identity of its folder and the name in it; the path if the folder does not
/// exist.
std::string NameKey(const std::string& path) {
    const fs::path name(path);
    const std::string folder = name.has_parent_path() ? name.parent_path().string() : ".";
    const std::optional<FileIdentity> identity = FileIdentity::At(folder);
    if (!identity) return fs::absolute(name).lexically_normal().string();
    return std::to_string(identity->device) + ":" + std::to_string(identity->number) + "/" +
           name.filename().string();
}

}  // namespace

void OutputGuard::Protect(const std::string& path, const std::string& role) {
    Add({path, role, false});
}

void OutputGuard::Add(const Entry& entry) {
    entries_.push_back(entry);
    Index(entries_.size() - 1);
}

void OutputGuard::Index(std::size_t entry) {
    const std::string& path = entries_[entry].path;
    const std::optional<FileIdentity> identity = FileIdentity::At(path);
    if (identity) identities_.emplace(*identity, entry);
    if (!identity || !entries_[entry].isOutput) names_.emplace(NameKey(path), entry);
}

const OutputGuard::Entry* OutputGuard::Find(const OutputTarget& target) const {
    if (target.identity) {
        const auto found = identities_.find(*target.identity);
        if (found != identities_.end()) return &entries_[found->second];
    }
    const auto found = names_.find(NameKey(target.path));
    return found == names_.end() ? nullptr : &entries_[found->second];
}

void OutputGuard::RequireFree(const std::string& output, const OutputTarget& target) const {
    const Entry* entry = Find(target);
    if (entry == nullptr || (entry->isOutput && entry->path == output)) return;
    throw UsageError("the output " + Quoted(output) + " is " + entry->role +
                     "; choose another name");
}

void OutputGuard::Claim(const std::string& output) {
    const OutputTarget target = FindOutputTarget(output, overwrite_);
    // Two outputs may use the same device, which has no contents that they could overwrite.
    if (target.kind == OutputTarget::Kind::Device) return;
    const Entry* entry = Find(target);
    if (entry != nullptr && entry->isOutput) {
        throw UsageError("two outputs have the name " + Quoted(output) +
                         "; choose another name for one of them");
    }
    RequireFree(output, target);
    Add({output, "another output of this command", true});
}

void OutputGuard::ClaimStandardOutput() {
    OutputTarget target;
    target.path = "/dev/stdout";
    target.identity = FileIdentity::At(target.path);
    RequireFree("-", target);
    if (!std::filesystem::is_character_file(target.path)) {
        Add({target.path, "standard output, the output of this command", true});
    }
}

OutputTarget OutputGuard::Open(const std::string& output) const {
    OutputTarget target = FindOutputTarget(output, overwrite_);
    RequireFree(output, target);
    return target;
}

OutputTarget OutputGuard::Confirm(const std::string& output, const OutputTarget& opened) {
    OutputTarget target = FindOutputTarget(output, overwrite_);
    // All files, possibly thousands, are indexed again only when the output is a new file.
    if (target.identity && target.identity != opened.identity) {
        for (std::size_t entry = 0; entry < entries_.size(); ++entry) Index(entry);
    }
    RequireFree(output, target);
    if (target.kind == opened.kind && target.path == opened.path) return target;
    if (!opened.identity && target.kind == OutputTarget::Kind::File) {
        // The name is unchanged; realpath spells it differently now that a file exists.
        if (NameKey(target.path) == NameKey(opened.path)) return target;
    }
    throw JobError("cannot write " + Quoted(output) +
                   ": the name has another target than at the start; choose another name");
}

}  // namespace orlo::host
