// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tests/support/ProjectBuilder.h"

/// The reference of the alignment: step by step on plain arrays, without threads and reuse, one
/// operation a line. The engine must compute the same bits.
namespace sonrel_tests {

struct ReferenceCorrelation {
    double correlation = 0.0;
    long long offset = 0;
};

/// The parts of a recording that the alignment uses.
struct Recording {
    Samples samples;  ///< conformed, interleaved
    int rate = 8000;  ///< conformed
    int nativeRate = 8000;
    Samples native;  ///< at the native rate; empty: the conformed samples

    long long Count() const { return static_cast<long long>(samples.size() / 2); }
    const Samples& Native() const { return native.empty() ? samples : native; }
    long long NativeCount() const { return static_cast<long long>(Native().size() / 2); }
};

/// A second that is searched for.
struct ReferenceSearchSegment {
    long long start = 0;
    long long length = 0;
};

/// The data of 32 sample frames in a peak file.
struct PeakBlock {
    unsigned char rms = 0;
    signed char minimum[2] = {0, 0};
    signed char maximum[2] = {0, 0};
};

/// The blocks of interleaved stereo.
std::vector<PeakBlock> SummariseBlocks(const Samples& samples);
/// The bytes of a peak file.
std::string PeakFileBytes(const std::vector<PeakBlock>& blocks);

ReferenceCorrelation ReferenceCrossCorrelate(const float* a, int strideA, const float* b,
                                             int strideB, int count);
ReferenceCorrelation ReferenceCompareRanges(const Recording& a, const Recording& b, int count,
                                            long long startA, long long startB);
std::vector<ReferenceSearchSegment> ReferenceSearchSegments(const Recording& reference);
/// @param refines  false: the search was cancelled before it refined a candidate
ReferenceCorrelation ReferenceFindOffset(const Recording& a, const Recording& b, int sampleRate,
                                         bool refines = true);

/// One search of spectra; @p history may be null.
ReferenceCorrelation ReferenceSearchBlock(int overlap, int hop, float normA, float normB,
                                          const std::vector<double>& spectrumA,
                                          const std::vector<double>& spectrumB,
                                          std::vector<double>* history);
std::vector<double> ReferenceSpectrum(const std::vector<float>& samples, unsigned int points);

}  // namespace sonrel_tests
