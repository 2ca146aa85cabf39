// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "host/output/OutputFile.h"

namespace orlo::host {

enum class PeakExportFormat { Text, Binary };

/// The format for the extension of a file name: .json or .dat.
/// @throws UsageError for any other extension
PeakExportFormat PeakExportFormatOf(const std::string& path);

/// Writes the content of a peak file as waveform data of version 2 with 8 bits: one pair of minimum
/// and maximum for each channel of each pixel.
/// @param peakPath         a peak file; it is read in pieces
/// @param rate             sample rate of the stream, hertz
/// @param samplesPerPixel  a multiple of 32
/// @param output           committed by the caller; its name determines the format
/// @return the number of pixels
/// @throws JobError; CommandError when the program is asked to stop
int ExportPeaks(const std::string& peakPath, int rate, int samplesPerPixel, OutputFile& output);

}  // namespace orlo::host
