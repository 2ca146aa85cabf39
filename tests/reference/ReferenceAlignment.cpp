// SPDX-License-Identifier: MIT
#include "tests/reference/ReferenceAlignment.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include "tests/reference/ReferenceFft.h"
#include "tests/support/WaveBytes.h"

namespace sonrel_tests {
namespace {

constexpr float SCALE = 3.0517578e-5f;
constexpr int BLOCK_FRAMES = 32;

struct Split {
    std::vector<float> channel[2];
    float norm[2] = {0.0f, 0.0f};
};

Split SplitFrames(const Samples& frames, int count, int before, int after) {
    Split split;
    for (int c = 0; c < 2; ++c) {
        for (int i = 0; i < before; ++i) split.channel[c].push_back(0.0f);
        float sum = 0.0f;
        for (int i = 0; i < count; ++i) {
            const float x = static_cast<float>(frames[2 * static_cast<std::size_t>(i) + c]) * SCALE;
            split.channel[c].push_back(x);
            sum += x * x;
        }
        split.norm[c] = sum > 0.0f ? std::sqrt(sum) : sum;
        for (int i = 0; i < after; ++i) split.channel[c].push_back(0.0f);
    }
    return split;
}

void Invert(std::vector<double>& spectrum) {
    const std::size_t n = spectrum.size() / 2;
    for (std::size_t i = 1; i < spectrum.size(); i += 2) spectrum[i] = -spectrum[i];
    ReferenceFft(spectrum.data(), static_cast<unsigned int>(n));
    for (std::size_t i = 0; i < spectrum.size(); i += 2) {
        spectrum[i] *= 1.0 / static_cast<double>(n);
        spectrum[i + 1] *= -(1.0 / static_cast<double>(n));
    }
}

ReferenceCorrelation PeakOf(const std::vector<double>& values) {
    double largest = 0.0;
    std::size_t p = 0;
    for (std::size_t i = 0; i < values.size(); i += 2) {
        if (std::fabs(values[i]) > largest) {
            largest = std::fabs(values[i]);
            p = i;
        }
    }
    const std::size_t s = values.size();
    if (p < s / 2) return {largest, static_cast<long long>(p / 2)};
    return {largest, -static_cast<long long>((s - p) / 2)};
}

/// Frames from a position on; fewer at the end.
Samples Fetch(const Recording& recording, long long start, long long count) {
    if (start < 0 || count < 0 || start >= recording.Count()) return {};
    const long long end = std::min(recording.Count(), start + count);
    return {recording.samples.begin() + 2 * start, recording.samples.begin() + 2 * end};
}

struct SearchedSegment {
    ReferenceSearchSegment place;
    float norm[2] = {0.0f, 0.0f};
    std::vector<double> spectrum[2];
    std::vector<double> history[2];
};

struct Found {
    double correlation = 0.0;
    long long offset = 0;
    std::size_t segment = 0;
    int channel = 0;
};

int TransformSize(int rate) {
    int size = 1;
    while (size < 5 * rate) size *= 2;
    return size;
}

std::vector<SearchedSegment> ReadSegments(const Recording& reference) {
    std::vector<SearchedSegment> segments;
    const int size = TransformSize(reference.rate);
    for (const ReferenceSearchSegment& place : ReferenceSearchSegments(reference)) {
        SearchedSegment segment;
        segment.place = place;
        for (auto& history : segment.history) {
            history.assign(static_cast<std::size_t>(reference.rate), 0.0);
        }
        const Samples frames = Fetch(reference, place.start, place.length);
        if (static_cast<long long>(frames.size() / 2) == place.length) {
            const int length = static_cast<int>(place.length);
            const Split split = SplitFrames(frames, length, 0, size - length);
            for (int c = 0; c < 2; ++c) {
                segment.norm[c] = split.norm[c];
                if (static_cast<double>(split.norm[c]) > 0.01) {
                    segment.spectrum[c] =
                        ReferenceSpectrum(split.channel[c], static_cast<unsigned int>(size));
                }
            }
        }
        segments.push_back(std::move(segment));
    }
    return segments;
}

Found Join(const ReferenceCorrelation& l, const ReferenceCorrelation& r) {
    if (l.correlation > 0.95 && r.correlation > 0.95 && l.offset != r.offset) {
        Found found;
        found.correlation = r.correlation > l.correlation ? r.correlation : l.correlation;
        found.offset = static_cast<long long>(static_cast<double>(l.offset + r.offset) * 0.5);
        return found;
    }
    if (l.correlation >= r.correlation) return {l.correlation, l.offset, 0, 0};
    // A search without a match returns the left channel.
    return {r.correlation, r.offset, 0, 1};
}

void Refine(const Recording& reference, const Recording& other,
            const std::vector<SearchedSegment>& segments, bool swapped, Found& result) {
    if (result.correlation == 0.0) return;
    const SearchedSegment& segment = segments[result.segment];
    const long long p = segment.place.start - result.offset;
    if (segment.place.start < 0 || p < 0) return;
    const Samples frames = Fetch(other, p, segment.place.length);
    const int count = static_cast<int>(frames.size() / 2);
    if (count == 0) return;
    const int size = TransformSize(reference.rate);
    const Split split = SplitFrames(frames, count, 0, size - count);
    const int c = result.channel;
    const std::vector<double> spectrum =
        ReferenceSpectrum(split.channel[c], static_cast<unsigned int>(size));
    const ReferenceCorrelation again =
        ReferenceSearchBlock(reference.rate, count, segment.norm[c], split.norm[c],
                             segment.spectrum[c], spectrum, nullptr);
    result.correlation = again.correlation;
    result.offset += again.offset;
    if (swapped) result.offset = -result.offset;
}

ReferenceCorrelation Search(const Recording& reference, const Recording& other, bool swapped,
                            bool refines) {
    std::vector<SearchedSegment> segments = ReadSegments(reference);
    const int rate = reference.rate;
    const int size = TransformSize(rate);
    std::vector<Found> results;
    for (long long position = 0; position < other.Count();) {
        const Samples frames = Fetch(other, position, 2LL * rate);
        const int read = static_cast<int>(frames.size() / 2);
        if (read < rate) break;
        const Split split = SplitFrames(frames, read, rate - 1, size - read - rate + 1);
        std::vector<double> spectrum[2];
        for (int c = 0; c < 2; ++c) {
            if (static_cast<double>(split.norm[c]) > 0.01) {
                spectrum[c] = ReferenceSpectrum(split.channel[c], static_cast<unsigned int>(size));
            }
        }
        for (std::size_t s = 0; s < segments.size(); ++s) {
            ReferenceCorrelation found[2];
            for (int c = 0; c < 2; ++c) {
                found[c] = ReferenceSearchBlock(rate, read, segments[s].norm[c], split.norm[c],
                                                segments[s].spectrum[c], spectrum[c],
                                                &segments[s].history[c]);
            }
            Found joined = Join(found[0], found[1]);
            joined.offset = rate - joined.offset + (segments[s].place.start - position);
            joined.segment = s;
            results.push_back(joined);
        }
        position += read;
    }
    if (results.empty()) return {};
    for (Found& result : results) {
        if (refines) Refine(reference, other, segments, swapped, result);
    }
    Found best = results.front();
    for (const Found& result : results) {
        if (result.correlation > best.correlation) best = result;
    }
    return {best.correlation, best.offset};
}

/// The list of loud windows: the loudest first, equal windows in order of time, ten at most.
template <class Key>
void EnterWindow(std::vector<std::pair<Key, long long>>& list, Key key, long long position) {
    if (!list.empty() && key < list.back().first) return;
    auto at = list.begin();
    while (at != list.end() && !(at->first < key)) ++at;
    list.insert(at, {key, position});
    if (list.size() > 10) list.resize(10);
}

}  // namespace

std::vector<PeakBlock> SummariseBlocks(const Samples& samples) {
    std::vector<PeakBlock> blocks;
    for (std::size_t first = 0; first < samples.size(); first += 2 * BLOCK_FRAMES) {
        const std::size_t end = std::min(samples.size(), first + 2 * BLOCK_FRAMES);
        PeakBlock block;
        double sum = 0.0;
        double minimum[2] = {0.0, 0.0};
        double maximum[2] = {0.0, 0.0};
        for (std::size_t i = first; i < end; ++i) {
            const double x = std::clamp(samples[i] / 32767.0, -1.0, 1.0);
            sum += x * x;
            minimum[i % 2] = std::min(minimum[i % 2], x);
            maximum[i % 2] = std::max(maximum[i % 2], x);
        }
        const double mean = sum / static_cast<double>(end - first);
        block.rms = static_cast<unsigned char>(std::sqrt(mean) * 255.0);
        for (int c = 0; c < 2; ++c) {
            block.minimum[c] = static_cast<signed char>(minimum[c] * 127.0);
            block.maximum[c] = static_cast<signed char>(maximum[c] * 127.0);
        }
        blocks.push_back(block);
    }
    return blocks;
}

std::string PeakFileBytes(const std::vector<PeakBlock>& blocks) {
    std::string bytes = "ORLOXWPK" + Little(1, 4) + Little(2, 4) + Little(blocks.size(), 4);
    for (const PeakBlock& block : blocks) {
        bytes += static_cast<char>(block.rms);
        for (int c = 0; c < 2; ++c) {
            bytes += static_cast<char>(block.minimum[c]);
            bytes += static_cast<char>(block.maximum[c]);
        }
    }
    return bytes;
}

std::vector<double> ReferenceSpectrum(const std::vector<float>& samples, unsigned int points) {
    std::vector<double> spectrum(2 * static_cast<std::size_t>(points), 0.0);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        spectrum[2 * i] = static_cast<double>(samples[i]);
    }
    ReferenceFft(spectrum.data(), points);
    return spectrum;
}

ReferenceCorrelation ReferenceSearchBlock(int overlap, int hop, float normA, float normB,
                                          const std::vector<double>& spectrumA,
                                          const std::vector<double>& spectrumB,
                                          std::vector<double>* history) {
    if (!(0.01 < static_cast<double>(normA)) || !(0.01 < static_cast<double>(normB))) return {};
    std::vector<double> product(spectrumB.size());
    for (std::size_t i = 0; i < product.size(); i += 2) {
        const double ar = spectrumA[i];
        const double ai = spectrumA[i + 1];
        const double br = spectrumB[i];
        const double bi = spectrumB[i + 1];
        product[i] = ar * br + ai * bi;
        product[i + 1] = ar * bi - ai * br;
    }
    Invert(product);
    if (history != nullptr) {
        for (int i = 0; i < overlap - 1; ++i) {
            const auto at = static_cast<std::size_t>(i);
            product[at] += (*history)[at];
            (*history)[at] = product[at + static_cast<std::size_t>(hop)];
        }
    }
    const double norm = static_cast<double>(normA * normB);
    for (std::size_t i = 0; i < product.size(); i += 2) product[i] /= norm;
    return PeakOf(product);
}

ReferenceCorrelation ReferenceCrossCorrelate(const float* a, int strideA, const float* b,
                                             int strideB, int count) {
    if (count < 1) return {};
    unsigned int points = 1;
    while (points < 2U * static_cast<unsigned int>(count)) points *= 2;
    std::vector<float> samplesA;
    std::vector<float> samplesB;
    float sumA = 0.0f;
    float sumB = 0.0f;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        samplesA.push_back(a[i * strideA]);
        samplesB.push_back(b[i * strideB]);
        sumA += samplesA.back() * samplesA.back();
        sumB += samplesB.back() * samplesB.back();
    }
    std::vector<double> product = ReferenceSpectrum(samplesA, points);
    const std::vector<double> spectrumB = ReferenceSpectrum(samplesB, points);
    for (std::size_t i = 0; i < product.size(); i += 2) {
        const double ar = product[i];
        const double ai = product[i + 1];
        const double br = spectrumB[i];
        const double bi = spectrumB[i + 1];
        product[i] = ar * br + ai * bi;
        product[i + 1] = ai * br - ar * bi;
    }
    Invert(product);
    const float norms = std::sqrt(sumA) * std::sqrt(sumB);
    for (std::size_t i = 0; i < product.size(); i += 2) product[i] /= static_cast<double>(norms);
    return PeakOf(product);
}

ReferenceCorrelation ReferenceCompareRanges(const Recording& a, const Recording& b, int count,
                                            long long startA, long long startB) {
    if (startA < 0 || startB < 0 || count <= 0) return {};
    const Samples framesA = Fetch(a, startA, count);
    const Samples framesB = Fetch(b, startB, count);
    if (framesA.size() != 2 * static_cast<std::size_t>(count)) return {};
    if (framesB.size() != 2 * static_cast<std::size_t>(count)) return {};
    std::vector<float> floatsA;
    std::vector<float> floatsB;
    for (const short value : framesA) floatsA.push_back(static_cast<float>(value) * SCALE);
    for (const short value : framesB) floatsB.push_back(static_cast<float>(value) * SCALE);
    ReferenceCorrelation first[2];
    double again[2];
    for (int c = 0; c < 2; ++c) {
        first[c] = ReferenceCrossCorrelate(floatsA.data() + c, 2, floatsB.data() + c, 2, count);
    }
    if (first[0].offset == 0 && first[1].offset == 0) {
        return {std::max(first[0].correlation, first[1].correlation), 0};
    }
    for (int c = 0; c < 2; ++c) {
        const long long lag = first[c].offset;
        const float* fromA = floatsA.data() + c + (lag > 0 ? 2 * lag : 0);
        const float* fromB = floatsB.data() + c + (lag < 0 ? -2 * lag : 0);
        again[c] =
            ReferenceCrossCorrelate(fromA, 2, fromB, 2, count - static_cast<int>(std::llabs(lag)))
                .correlation;
    }
    if (again[0] >= again[1]) return {again[0], first[0].offset};
    return {again[1], first[1].offset};
}

std::vector<ReferenceSearchSegment> ReferenceSearchSegments(const Recording& reference) {
    std::vector<ReferenceSearchSegment> segments;
    if (reference.Count() <= reference.rate) {
        segments.push_back({0, reference.NativeCount()});
    } else {
        const std::vector<PeakBlock> blocks = SummariseBlocks(reference.Native());
        const int count = static_cast<int>(blocks.size());
        const int perSecond = reference.nativeRate / BLOCK_FRAMES;
        std::vector<std::pair<unsigned char, long long>> byRms;
        std::vector<std::pair<signed char, long long>> byPeak;
        for (int f = 0; f < count; f += perSecond / 2) {
            const int e = std::min(f + perSecond, count);
            double sum = 0.0;
            int peak = 0;
            for (int i = f; i < e; ++i) {
                const PeakBlock& block = blocks[static_cast<std::size_t>(i)];
                sum += (block.rms / 255.0) * (block.rms / 255.0);
                for (int c = 0; c < 2; ++c) {
                    if (block.minimum[c] != -128) peak = std::max(peak, -block.minimum[c]);
                    peak = std::max(peak, static_cast<int>(block.maximum[c]));
                }
            }
            const auto rms = static_cast<unsigned char>(std::sqrt(sum / (e - f)) * 255.0);
            if (rms != 0) EnterWindow(byRms, rms, 1LL * f * BLOCK_FRAMES);
            if (peak > 0) {
                EnterWindow(byPeak, static_cast<signed char>(peak), 1LL * f * BLOCK_FRAMES);
            }
        }
        const long long length = reference.nativeRate;
        if (!byRms.empty()) segments.push_back({byRms[0].second, length});
        for (const auto& [key, position] : byPeak) {
            bool overlaps = false;
            for (const ReferenceSearchSegment& segment : segments) {
                if (position + length > segment.start && segment.start + length > position) {
                    overlaps = true;
                }
            }
            if (overlaps) continue;
            segments.push_back({position, length});
            break;
        }
        if (segments.empty()) segments.push_back({0, length});
    }
    if (reference.rate != reference.nativeRate) {
        for (ReferenceSearchSegment& segment : segments) {
            segment.start = static_cast<long long>(
                static_cast<double>(segment.start) *
                (static_cast<double>(reference.rate) / reference.nativeRate));
            segment.length = reference.rate;
            if (segment.start < 0) segment.start = 0;
            if (segment.start + reference.rate > reference.Count()) {
                segment.start = reference.Count() - reference.rate;
            }
        }
    }
    std::sort(segments.begin(), segments.end(), [](const auto& a, const auto& b) {
        return a.start != b.start ? a.start < b.start : a.length < b.length;
    });
    const auto same = [](const auto& a, const auto& b) {
        return a.start == b.start && a.length == b.length;
    };
    segments.erase(std::unique(segments.begin(), segments.end(), same), segments.end());
    return segments;
}

ReferenceCorrelation ReferenceFindOffset(const Recording& a, const Recording& b, int sampleRate,
                                         bool refines) {
    const long long c1 = a.Count();
    const long long c2 = b.Count();
    if (c1 == 0 || c2 == 0) return {};
    if (c1 <= 5LL * sampleRate && c2 <= 5LL * sampleRate && std::llabs(c1 - c2) < sampleRate) {
        return ReferenceCompareRanges(a, b, static_cast<int>(std::min(c1, c2)), 0, 0);
    }
    return c2 < c1 ? Search(b, a, true, refines) : Search(a, b, false, refines);
}

}  // namespace sonrel_tests
