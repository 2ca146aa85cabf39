// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/output/OutputFile.h"

namespace orlo::host {

enum class PeakExportFormat { Text, Binary };

/// The format that a file's name asks for: .json or .dat. @throws UsageError
PeakExportFormat PeakExportFormatOf(const std::string& path);

/// Writes what a peak file holds as waveform data of version 2 with 8 bits: one pair of minimum and
/// maximum for each channel of each pixel.
/// @param peakPath         a peak file; it is read in pieces
/// @param rate             of the stream, hertz
/// @param samplesPerPixel  a multiple of 32
/// @param output           is committed by the caller; its name decides about the format
/// @return the pixels
/// @throws JobError; CommandError when the program is asked to stop
int ExportPeaks(const std::string& peakPath, int rate, int samplesPerPixel, OutputFile& output);

}  // namespace orlo::host
