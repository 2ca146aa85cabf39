// SPDX-License-Identifier: MIT
#include "host/output/OutputName.h"

#include <algorithm>
#include <filesystem>

#include "host/output/OutputTarget.h"
#include "host/shell/Errors.h"
#include "host/shell/Text.h"

namespace orlo::host {

namespace {

std::string Choices(const std::vector<std::string_view>& extensions) {
    std::string text(extensions.front());
    for (std::size_t i = 1; i < extensions.size(); ++i) {
        text += i + 1 == extensions.size() ? " or " : ", ";
        text += extensions[i];
    }
    return text;
}

}  // namespace

std::string ExtensionOf(const std::string& name) {
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), [](char letter) {
        const bool isCapital = letter >= 'A' && letter <= 'Z';
        return isCapital ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return extension;
}

void RequireExtension(const std::string& output, const std::vector<std::string_view>& extensions) {
    const std::string extension = ExtensionOf(output);
    if (std::find(extensions.begin(), extensions.end(), extension) != extensions.end()) return;
    if (FindOutputTarget(output, true).kind != OutputTarget::Kind::File) return;
    throw UsageError("the output " + Quoted(output) +
                     (extension.empty() ? " has no extension" : " has an unknown extension") +
                     "; use " + Choices(extensions));
}

}  // namespace orlo::host
