// SPDX-License-Identifier: MIT
#include "sonrel/media/input/Mp4Index.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zrh::media::detail {
namespace {

/// The limit of FFmpeg.
constexpr int MAX_DEPTH = 10;
/// The minimum number of frames of an entry, where the headers count frames instead of packets.
constexpr std::int64_t FRAMES_PER_ENTRY = 160;
/// Counts stop here: far more packets than any index may have, and far from an overflow.
constexpr std::int64_t MAX_COUNT = 1LL << 40;

constexpr std::uint32_t Name(const char (&letters)[5]) {
    std::uint32_t name = 0;
    for (int i = 0; i < 4; ++i) name = name << 8 | static_cast<unsigned char>(letters[i]);
    return name;
}

/// Boxes that contain boxes.
constexpr std::array CONTAINERS = {Name("dinf"), Name("edts"), Name("mdia"), Name("minf"),
                                   Name("moof"), Name("moov"), Name("mvex"), Name("sinf"),
                                   Name("stbl"), Name("traf"), Name("trak"), Name("udta"),
                                   Name("wave")};

std::int64_t Times(std::int64_t one, std::int64_t other) {
    return other > 0 && one > MAX_COUNT / other ? MAX_COUNT : one * other;
}

/// Reads the numbers of a file through a window.
class Numbers {
public:
    explicit Numbers(const InputFile& file) : file_(file) {}

    /// A big-endian number; 0 beyond the end of the file.
    std::int64_t At(std::int64_t offset, int bytes) {
        if (offset < start_ || offset + bytes > start_ + size_) Load(offset);
        std::uint64_t number = 0;
        for (int i = 0; i < bytes; ++i) number = number << 8 | Byte(offset + i);
        return static_cast<std::int64_t>(number);
    }
    bool HasFailed() const { return failed_; }

private:
    void Load(std::int64_t offset) {
        const std::int64_t got = file_.ReadAt(offset, window_.data(), window_.size());
        if (got < 0) failed_ = true;
        start_ = offset;
        size_ = std::max<std::int64_t>(got, 0);
    }
    std::uint8_t Byte(std::int64_t offset) const {
        const std::int64_t at = offset - start_;
        return at < size_ ? window_[static_cast<std::size_t>(at)] : 0;
    }

    const InputFile& file_;
    std::array<std::uint8_t, 1024> window_{};
    std::int64_t start_ = 0;
    std::int64_t size_ = 0;
    bool failed_ = false;
};

struct Box {
    std::uint32_t name = 0;
    std::int64_t body = 0;
    std::int64_t end = 0;
};

/// The counts that the boxes of a track claim.
struct Track {
    std::int64_t samples = 0;
    std::int64_t edits = 1;
    std::int64_t chunks = 0;
    Box runs;  ///< the table of samples for each chunk
    bool isSound = false;
    bool hasUnitDurations = false;
};

class IndexCounter {
public:
    explicit IndexCounter(const InputFile& file)
        : numbers_(file), fileBytes_(file.Size()), boxesLeft_((1 << 22) + fileBytes_ / 256) {}

    /// Counts the packets of the whole file.
    void Run() { CountBoxes(0, fileBytes_, 0); }

    bool IsTooLarge() const { return packets_ > MaxIndexPackets(fileBytes_) || boxesLeft_ < 0; }
    bool HasFailed() const { return numbers_.HasFailed(); }

private:
    bool MayContinue() const { return !IsTooLarge() && !HasFailed(); }

    void CountBoxes(std::int64_t at, std::int64_t end, int depth) {
        while (at + 8 <= end && MayContinue()) {
            --boxesLeft_;
            const Box box = BoxAt(at, end);
            if (box.end <= at) return;
            CountBox(box, depth);
            at = box.end;
        }
    }

    Box BoxAt(std::int64_t at, std::int64_t end) {
        std::int64_t size = numbers_.At(at, 4);
        Box box{static_cast<std::uint32_t>(numbers_.At(at + 4, 4)), at + 8, end};
        if (size == 1) {
            size = numbers_.At(at + 8, 8);
            box.body = at + 16;
        }
        if (size == 0) return box;
        const bool isBroken = size < box.body - at;
        box.end = isBroken ? at : size > end - at ? end : at + size;
        return box;
    }

    void CountBox(const Box& box, int depth) {
        if (box.name == Name("cmov")) packets_ = MAX_COUNT;
        if (box.name == Name("trun")) Add(numbers_.At(box.body + 4, 4));
        const bool isContainer =
            std::find(CONTAINERS.begin(), CONTAINERS.end(), box.name) != CONTAINERS.end();
        if (!isContainer || depth >= MAX_DEPTH) return NoteTable(box);
        if (box.name == Name("trak")) track_ = {};
        CountBoxes(box.body, box.end, depth + 1);
        if (box.name == Name("trak")) Add(Times(EntriesOf(track_), track_.edits));
    }

    /// Stores the counts of a table of the track.
    void NoteTable(const Box& box) {
        const std::int64_t count = numbers_.At(box.body + 4, 4);
        switch (box.name) {
            case Name("elst"):
                track_.edits = std::max(track_.edits, count);
                break;
            case Name("hdlr"):
                track_.isSound = numbers_.At(box.body + 8, 4) == Name("soun");
                break;
            case Name("stco"):
            case Name("co64"):
                track_.chunks = std::max(track_.chunks, count);
                break;
            case Name("stsc"):
                track_.runs = box;
                break;
            case Name("stsz"):
            case Name("stz2"):
                track_.samples = std::max(track_.samples, numbers_.At(box.body + 8, 4));
                break;
            case Name("stts"):
                track_.hasUnitDurations = count == 1 && numbers_.At(box.body + 12, 4) == 1;
                break;
            default:
                break;
        }
    }

    std::int64_t EntriesOf(const Track& track) {
        if (!track.isSound || !track.hasUnitDurations) return track.samples;
        std::int64_t entries = track.chunks;
        const std::int64_t runs = std::min(numbers_.At(track.runs.body + 4, 4),
                                           (track.runs.end - track.runs.body - 8) / 12);
        for (std::int64_t i = 0; i < runs && entries < MAX_COUNT && !HasFailed(); ++i) {
            const std::int64_t run = track.runs.body + 8 + 12 * i;
            const std::int64_t first = numbers_.At(run, 4);
            const std::int64_t next = i + 1 < runs ? numbers_.At(run + 12, 4) : track.chunks + 1;
            const std::int64_t chunks = std::clamp<std::int64_t>(next - first, 0, track.chunks);
            entries += Times(chunks, numbers_.At(run + 4, 4) / FRAMES_PER_ENTRY);
        }
        return entries;
    }

    void Add(std::int64_t packets) { packets_ = std::min(packets_ + packets, MAX_COUNT); }

    Numbers numbers_;
    std::int64_t fileBytes_;
    std::int64_t boxesLeft_;
    std::int64_t packets_ = 0;
    Track track_;
};

}  // namespace

MediaError CheckMp4Index(const InputFile& file) {
    IndexCounter counter(file);
    counter.Run();
    if (counter.HasFailed()) {
        return file.IsInterrupted() ? MediaError::Cancelled : MediaError::ReadFailed;
    }
    return counter.IsTooLarge() ? MediaError::IndexTooLarge : MediaError::None;
}

}  // namespace zrh::media::detail
