// SPDX-License-Identifier: MIT
#include "host/output/SoundWriter.h"

#include "host/output/EncodedWriter.h"
#include "host/output/SoundFormat.h"
#include "host/output/StandardOutput.h"
#include "host/output/WavStream.h"
#include "host/output/WavWriter.h"

namespace orlo::host {

std::unique_ptr<SoundWriter> OpenSoundWriter(const std::string& output, OutputGuard& guard,
                                             int rate, long long frames,
                                             SoundWriter::Length length) {
    if (output == STANDARD_OUTPUT) return std::make_unique<WavStream>(rate, frames);
    const SoundFormat format = SoundFormatOf(output).value_or(SoundFormat::Wav);
    if (format == SoundFormat::Wav) {
        return std::make_unique<WavWriter>(output, guard, rate, frames, length);
    }
    return std::make_unique<EncodedWriter>(output, guard, format, rate, frames);
}

}  // namespace orlo::host
