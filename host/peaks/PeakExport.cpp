// SPDX-License-Identifier: MIT
#include "host/peaks/PeakExport.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "host/shell/Errors.h"
#include "host/shell/Interrupt.h"
#include "host/shell/Outcome.h"
#include "host/shell/Paths.h"
#include "host/shell/Text.h"
#include "sonrel/cache/PeakFile.h"

namespace orlo::host {

namespace {

using sonrel::PeakFile;

constexpr int FORMAT_VERSION = 2;
constexpr std::uint32_t EIGHT_BITS = 1;
constexpr int PIXELS_AT_ONCE = 65536;

/// The header of the data.
struct Header {
    int rate = 0;
    int samplesPerPixel = 0;
    int channels = 0;
    int pixels = 0;
};

class Encoder {
public:
    virtual ~Encoder() = default;
    virtual void Begin(const Header& header) = 0;
    virtual void Add(const std::vector<signed char>& values) = 0;
    virtual void End() {}
};

class BinaryEncoder final : public Encoder {
public:
    explicit BinaryEncoder(OutputFile& output) : output_(output) {}

    void Begin(const Header& header) override {
        std::string bytes;
        for (const std::uint32_t field : {static_cast<std::uint32_t>(FORMAT_VERSION), EIGHT_BITS,
                                          static_cast<std::uint32_t>(header.rate),
                                          static_cast<std::uint32_t>(header.samplesPerPixel),
                                          static_cast<std::uint32_t>(header.pixels),
                                          static_cast<std::uint32_t>(header.channels)}) {
            for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(field >> shift);
        }
        output_.Write(bytes);
    }
    void Add(const std::vector<signed char>& values) override {
        output_.Write({reinterpret_cast<const char*>(values.data()), values.size()});
    }

private:
    OutputFile& output_;
};

/// Writes the list of values piece by piece, because the whole list could exceed the available
/// memory.
class JsonEncoder final : public Encoder {
public:
    explicit JsonEncoder(OutputFile& output) : output_(output) {}

    void Begin(const Header& header) override {
        Json object;
        object["version"] = FORMAT_VERSION;
        object["channels"] = header.channels;
        object["sample_rate"] = header.rate;
        object["samples_per_pixel"] = header.samplesPerPixel;
        object["bits"] = 8;
        object["length"] = header.pixels;
        object["data"] = Json::Array();
        text_ = object.ToLine();
        text_.resize(text_.size() - 2);  // the closing "]}"
        output_.Write(text_);
    }
    void Add(const std::vector<signed char>& values) override {
        text_.clear();
        for (const signed char value : values) {
            if (!first_) text_ += ',';
            first_ = false;
            char digits[8];
            const auto end = std::to_chars(digits, digits + sizeof digits, int{value}).ptr;
            text_.append(digits, end);
        }
        output_.Write(text_);
    }
    void End() override { output_.Write("]}\n"); }

private:
    OutputFile& output_;
    std::string text_;
    bool first_ = true;
};

void CopyPixels(PeakFile& peaks, const Header& header, Encoder& encoder, const std::string& path) {
    const long long step = header.samplesPerPixel / peaks.SamplesPerBlock();
    const long long atOnce = PIXELS_AT_ONCE;
    std::vector<signed char> values;
    for (long long pixel = 0; pixel < header.pixels; pixel += atOnce) {
        const long long first = pixel * step;
        const long long end = std::min<long long>((pixel + atOnce) * step, peaks.BlockCount());
        const PeakFile::Result result = peaks.GetChannelPeaks(
            static_cast<int>(first), static_cast<int>(end), static_cast<double>(step), values);
        if (result != PeakFile::Result::Ok) {
            throw JobError("cannot read the peak file " + Quoted(path) +
                           " to its end; run the command again, or remove the file");
        }
        encoder.Add(values);
        if (Interrupted()) ThrowInterrupted("the export is not written");
    }
}

}  // namespace

PeakExportFormat PeakExportFormatOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    if (extension == ".json") return PeakExportFormat::Text;
    if (extension == ".dat") return PeakExportFormat::Binary;
    throw UsageError("--export " + Quoted(path) + " ends neither in .json nor in .dat");
}

int ExportPeaks(const std::string& peakPath, int rate, int samplesPerPixel, OutputFile& output) {
    const std::string& path = output.Path();
    PeakFile peaks;
    if (!peaks.Open(WidePath(peakPath))) {
        throw JobError("cannot export to " + Quoted(path) + ": the peak file " + Quoted(peakPath) +
                       " contains no sound");
    }
    Header header;
    header.rate = rate;
    header.samplesPerPixel = samplesPerPixel;
    header.channels = peaks.ChannelCount();
    const long long step = samplesPerPixel / peaks.SamplesPerBlock();
    header.pixels = static_cast<int>((peaks.BlockCount() + step - 1) / step);

    BinaryEncoder binary(output);
    JsonEncoder json(output);
    Encoder& encoder = PeakExportFormatOf(path) == PeakExportFormat::Text
                           ? static_cast<Encoder&>(json)
                           : static_cast<Encoder&>(binary);
    encoder.Begin(header);
    CopyPixels(peaks, header, encoder, peakPath);
    encoder.End();
    return header.pixels;
}

}  // namespace orlo::host
