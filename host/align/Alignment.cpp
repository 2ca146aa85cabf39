// SPDX-License-Identifier: MIT
#include "host/align/Alignment.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "host/align/ChanceCorrelation.h"
#include "host/align/RangeTries.h"
#include "host/shell/Interrupt.h"
#include "sonrel/sync/LoudSeconds.h"
#include "sonrel/sync/SegmentSearch.h"

namespace orlo::host {

namespace {

using sonrel::AudioSync;

constexpr double WELL_UNDER = 0.6;          // of the engine's own correlation
constexpr double LAST_CORRELATION = 0.999;  // above it the rounding of the norms decides
constexpr double CLEAR_CORRELATION = 0.7;   // that ends a search for other seconds
constexpr double STRONG_CORRELATION = 0.5;  // of a place that lies elsewhere
constexpr double AUDIBLE_SECONDS = 0.01;    // a change of the offset that one offset cannot fit
constexpr int SPREAD_PARTS = 6;

[[noreturn]] void Stop() {
    ThrowInterrupted("the recordings are not aligned");
}

/// The candidates of one pair, and the best of them so far.
class Aligner {
public:
    Aligner(const RecordingPair& pair, double leastCorrelation, Progress& progress)
        : pair_(pair), least_(leastCorrelation), progress_(progress) {}

    AlignmentAnswer Run() {
        answer_.referenceIsA = pair_.ReferenceIsA();
        answer_.tooShort = IsTooShort(std::min(pair_.A().Frames(), pair_.B().Frames()));
        if (answer_.tooShort) return answer_;
        SearchWholes();
        Try(answer_.engine.offset, AlignmentMethod::Search, SearchedSegments());
        // What long stretches tell costs little, and is right where short ones repeat.
        Try(sonrel::OffsetByLevels(pair_.A().levels, pair_.B().levels, pair_.Rate()),
            AlignmentMethod::Levels, {});
        TryOtherPlaces();
        if (!EitherIsSilent()) {
            if (!HoldsUp()) TryLoudSeconds();
            if (!HoldsUp()) TryRanges();
        }
        Conclude();
        return answer_;
    }

private:
    void SearchWholes() {
        bool begun = false;
        answer_.engine = AudioSync::FindOffset(
            pair_.Engine(), pair_.A().asset, pair_.B().asset, pair_.Rate(),
            [&](int done, int total) {
                if (!begun) progress_.Begin("align", "blocks", total);
                begun = true;
                progress_.Update(done);
            },
            InterruptFlag());
        if (Interrupted()) Stop();
        if (begun) progress_.End();
    }

    bool IsTooShort(long long frames) const { return frames < MinJudgedFrames(pair_.Rate()); }

    std::vector<FrameRange> SearchedSegments() const {
        const Recording& reference = answer_.referenceIsA ? pair_.A() : pair_.B();
        const auto seconds = sonrel::SearchedSeconds(*reference.asset->AudioStream());
        return seconds ? *seconds : std::vector<FrameRange>();
    }

    /// Measures a candidate. The first one of an offset stays.
    void Try(long long offset, AlignmentMethod method, std::vector<FrameRange> segments) {
        if (Interrupted()) Stop();
        const bool known = std::any_of(tried_.begin(), tried_.end(), [&](long long other) {
            return std::llabs(other - offset) < pair_.Rate() / 50;
        });
        if (known || IsTooShort(pair_.OverlapAt(offset).Count())) return;
        tried_.push_back(offset);
        Alignment candidate;
        candidate.method = method;
        candidate.segments = std::move(segments);
        candidate.refined = pair_.Refine(offset);
        if (IsTooShort(pair_.OverlapAt(candidate.refined.offset).Count())) return;
        if (candidate.refined.correlation >= least_) {
            candidate.places = pair_.MeasureAlong(candidate.refined.offset);
            candidate.matchedSeconds = MatchedSeconds(candidate);
            candidate.chance = ChanceCorrelation(pair_, candidate.refined, candidate.places);
        }
        if (!any_ || IsBetter(candidate, answer_.found)) answer_.found = candidate;
        any_ = true;
    }

    /// Whether a measure is worth its correlation: unrelated recordings do not reach it.
    bool IsSound(const Alignment& candidate) const {
        return candidate.refined.correlation >= std::max(least_, candidate.chance) &&
               candidate.chance < LAST_CORRELATION;
    }

    double MatchedSeconds(const Alignment& candidate) const {
        if (candidate.places.empty()) return 0.0;
        double sum = 0.0;
        for (const Measure& place : candidate.places) {
            if (Agrees(place, candidate.refined, pair_.Rate())) sum += place.correlation;
        }
        const FrameRange overlap = pair_.OverlapAt(candidate.refined.offset);
        return sum / static_cast<double>(candidate.places.size()) *
               static_cast<double>(overlap.Count()) / pair_.Rate();
    }

    /// Below the bound the larger correlation counts; from there on how much of the recordings
    /// matches, so that a loop is not taken for the piece that it repeats in.
    bool IsBetter(const Alignment& one, const Alignment& other) const {
        const bool oneHolds = IsSound(one);
        const bool otherHolds = IsSound(other);
        if (oneHolds != otherHolds) return oneHolds;
        if (!oneHolds) return one.refined.correlation > other.refined.correlation;
        return one.matchedSeconds > other.matchedSeconds;
    }

    bool EitherIsSilent() const {
        return pair_.A().levels.Rms(0, pair_.A().Frames()) == 0.0 ||
               pair_.B().levels.Rms(0, pair_.B().Frames()) == 0.0;
    }

    bool HoldsUp() const {
        return IsSound(answer_.found) &&
               answer_.found.refined.correlation >= WELL_UNDER * answer_.engine.correlation;
    }

    /// Whether no other place can be meant. A weaker match is compared with all others first.
    bool StandsOut() const {
        return HoldsUp() && answer_.found.refined.correlation >= CLEAR_CORRELATION;
    }

    /// Follows places of the best answer that match better somewhere else.
    void TryOtherPlaces() {
        const std::vector<Measure> places = answer_.found.places;
        for (const Measure& place : places) {
            if (place.correlation >= least_ &&
                !Agrees(place, answer_.found.refined, pair_.Rate())) {
                Try(place.offset, AlignmentMethod::OtherPlaces, {});
            }
        }
    }

    void TryLoudSeconds() {
        const Recording& reference = answer_.referenceIsA ? pair_.A() : pair_.B();
        const Recording& longer = answer_.referenceIsA ? pair_.B() : pair_.A();
        const sonrel::SegmentSearch search{*pair_.Engine()->Mixer(), reference.asset, longer.asset,
                                           pair_.Rate()};
        const std::vector<FrameRange> seconds =
            sonrel::SpreadSeconds(reference.levels, reference.Frames(), pair_.Rate(), SPREAD_PARTS);
        long long done = 0;
        progress_.Begin("align other seconds", "pieces",
                        search.PieceCount() * static_cast<long long>(seconds.size()));
        for (const FrameRange& second : seconds) {
            const std::vector<long long> starts = search.Find(second, [&] {
                progress_.Update(++done);
                return !Interrupted();
            });
            for (const long long start : starts) {
                const long long offset =
                    answer_.referenceIsA ? second.start - start : start - second.start;
                Try(offset, AlignmentMethod::LoudSeconds, {second});
            }
            if (StandsOut()) break;
        }
        if (Interrupted()) Stop();
        progress_.End();
    }

    void TryRanges() {
        const std::vector<RangeTry> tries = RangesToTry(pair_);
        long long done = 0;
        progress_.Begin("compare ranges", "ranges", static_cast<long long>(tries.size()));
        for (const RangeTry& range : tries) {
            if (Interrupted()) Stop();
            const Measure measure = pair_.MeasureAt(range.offset, range.inB);
            if (measure.correlation >= least_) Try(measure.offset, AlignmentMethod::Ranges, {});
            progress_.Update(++done);
            if (StandsOut()) break;
        }
        progress_.End();
    }

    void Conclude() {
        const Measure& refined = answer_.found.refined;
        if (refined.correlation < least_) {
            answer_.found.chance = ChanceCorrelation(pair_, refined, {});
        }
        if (IsSound(answer_.found)) {
            answer_.verdict = Verdict::Aligned;
        } else {
            answer_.verdict =
                refined.correlation >= 0.5 * least_ ? Verdict::Uncertain : Verdict::Unrelated;
        }
        if (answer_.verdict != Verdict::Aligned) return;
        const FrameRange overlap = pair_.OverlapAt(refined.offset);
        answer_.drift = FitDrift(answer_.found.places, refined, overlap, pair_.Rate());
        const double audible = AUDIBLE_SECONDS * pair_.Rate();
        if (answer_.drift &&
            (std::fabs(answer_.drift->change) > audible || answer_.drift->residual > audible)) {
            answer_.oneOffsetFits = false;
        }
        for (const Measure& place : answer_.found.places) {
            if (place.correlation >= std::max(least_, STRONG_CORRELATION) &&
                !Agrees(place, refined, pair_.Rate())) {
                answer_.oneOffsetFits = false;
            }
        }
    }

    const RecordingPair& pair_;
    double least_;
    Progress& progress_;
    AlignmentAnswer answer_;
    std::vector<long long> tried_;
    bool any_ = false;
};

}  // namespace

const char* MethodName(AlignmentMethod method) {
    switch (method) {
        case AlignmentMethod::Search:
            return "search";
        case AlignmentMethod::Levels:
            return "levels";
        case AlignmentMethod::OtherPlaces:
            return "other places";
        case AlignmentMethod::LoudSeconds:
            return "other loud seconds";
        case AlignmentMethod::Ranges:
            break;
    }
    return "ranges";
}

const char* VerdictName(Verdict verdict) {
    switch (verdict) {
        case Verdict::Aligned:
            return "aligned";
        case Verdict::Uncertain:
            return "uncertain";
        case Verdict::Unrelated:
            break;
    }
    return "unrelated";
}

AlignmentAnswer Align(const RecordingPair& pair, double leastCorrelation, Progress& progress) {
    return Aligner(pair, leastCorrelation, progress).Run();
}

}  // namespace orlo::host
