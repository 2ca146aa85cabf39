// SPDX-License-Identifier: MIT
#include "sonrel/contracts/project/ConformedAudioFile.h"
#include "sonrel/standin/project/CacheLedger.h"

namespace orlo::project {

bool IsWholeConformedFile(std::wstring const& path, int sampleRate) {
    ConformedAudioFile file;
    if (!file.Open(path)) return false;
    if (sampleRate != 0 && file.SampleRate() != sampleRate) return false;
    if (file.SampleCount() == 0) return true;
    unsigned char sample[4];
    int samplesRead = 0;
    return file.GetSamples(file.SampleCount() - 1, 1, sample, sizeof(sample), &samplesRead) == 0;
}

}  // namespace orlo::project
