// SPDX-License-Identifier: MIT
#pragma once

namespace CLI {
class App;
}  // namespace CLI

namespace orlo::host {

/// Adds the lists that apply to all commands: environment, files and exit codes.
void AddProgramNotes(CLI::App& app);

}  // namespace orlo::host
