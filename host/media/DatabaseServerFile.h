// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orlo::host {

/// The server file (sonrel/database/DatabaseServer.h) for the address of a database server, in
/// `servers` in a folder. It is written unless it exists. The file and the folder of all server
/// files are for their owner only: an address may contain a password.
/// @throws JobError that does not contain the address
std::string DatabaseServerFileFor(const std::string& address, const std::string& folder);

/// The name of a database for a report: the path of a file, or a server without its password.
/// @param path  of the file or server file
std::string DatabaseNameOf(const std::string& path);

}  // namespace orlo::host
