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

constexpr double WELL_UNDER = 0.6;          // of the engine's correlation
constexpr double LAST_CORRELATION = 0.999;  // above it the rounding of the norms dominates
constexpr double CLEAR_CORRELATION = 0.7;   // ends a search for other seconds
constexpr double STRONG_CORRELATION = 0.5;  // of a place with another offset
constexpr double AUDIBLE_SECONDS = 0.01;    // a larger change does not fit one offset
constexpr int SPREAD_PARTS = 6;

[[noreturn]] void Stop() {
    ThrowInterrupted("the recordings are not aligned");
}

/// Measures the candidates of one pair and keeps the best.
class Aligner {
public:
    Aligner(const RecordingPair& pair, double minCorrelation, Progress& progress)
        : pair_(pair), minCorrelation_(minCorrelation), progress_(progress) {}

    AlignmentResult Run() {
        result_.referenceIsA = pair_.ReferenceIsA();
        result_.tooShort = IsTooShort(std::min(pair_.A().Frames(), pair_.B().Frames()));
        if (result_.tooShort) return result_;
        SearchWholes();
        Try(result_.engine.offset, AlignmentMethod::Search, SearchedSegments());
        // The comparison of levels over long ranges is cheap, and is right when short ranges
        // repeat.
        Try(sonrel::OffsetByLevels(pair_.A().levels, pair_.B().levels, pair_.Rate()),
            AlignmentMethod::Levels, {});
        TryOtherPlaces();
        if (!EitherIsSilent()) {
            if (!IsConfirmed()) TryLoudSeconds();
            if (!IsConfirmed()) TryRanges();
        }
        Conclude();
        return result_;
    }

private:
    void SearchWholes() {
        bool begun = false;
        result_.engine = AudioSync::FindOffset(
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
        const Recording& reference = result_.referenceIsA ? pair_.A() : pair_.B();
        const auto seconds = sonrel::SearchedSeconds(*reference.asset->AudioStream());
        return seconds ? *seconds : std::vector<FrameRange>();
    }

    /// Measures a candidate. An offset that was measured before is skipped.
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
        if (candidate.refined.correlation >= minCorrelation_) {
            candidate.places = pair_.MeasureAlong(candidate.refined.offset);
            candidate.matchedSeconds = MatchedSeconds(candidate);
            candidate.chance = ChanceCorrelation(pair_, candidate.refined, candidate.places);
        }
        if (!any_ || IsBetter(candidate, result_.found)) result_.found = candidate;
        any_ = true;
    }

    /// Whether the correlation of a candidate is significant: unrelated recordings do not reach it.
    bool IsSignificant(const Alignment& candidate) const {
        return candidate.refined.correlation >= std::max(minCorrelation_, candidate.chance) &&
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

    /// Among insignificant candidates the larger correlation is better. Among significant
    /// candidates the longer matched part is better, so that a single period of a loop is not
    /// mistaken for the whole.
    bool IsBetter(const Alignment& one, const Alignment& other) const {
        const bool isOneSignificant = IsSignificant(one);
        const bool isOtherSignificant = IsSignificant(other);
        if (isOneSignificant != isOtherSignificant) return isOneSignificant;
        if (!isOneSignificant) return one.refined.correlation > other.refined.correlation;
        return one.matchedSeconds > other.matchedSeconds;
    }

    bool EitherIsSilent() const {
        return pair_.A().levels.Rms(0, pair_.A().Frames()) == 0.0 ||
               pair_.B().levels.Rms(0, pair_.B().Frames()) == 0.0;
    }

    bool IsConfirmed() const {
        return IsSignificant(result_.found) &&
               result_.found.refined.correlation >= WELL_UNDER * result_.engine.correlation;
    }

    /// Whether the search can stop. A weaker match is first compared with all other candidates.
    bool IsClear() const {
        return IsConfirmed() && result_.found.refined.correlation >= CLEAR_CORRELATION;
    }

    /// Tries the offsets of places that match better at another offset than the best result.
    void TryOtherPlaces() {
        const std::vector<Measure> places = result_.found.places;
        for (const Measure& place : places) {
            if (place.correlation >= minCorrelation_ &&
                !Agrees(place, result_.found.refined, pair_.Rate())) {
                Try(place.offset, AlignmentMethod::OtherPlaces, {});
            }
        }
    }

    void TryLoudSeconds() {
        const Recording& reference = result_.referenceIsA ? pair_.A() : pair_.B();
        const Recording& longer = result_.referenceIsA ? pair_.B() : pair_.A();
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
                    result_.referenceIsA ? second.start - start : start - second.start;
                Try(offset, AlignmentMethod::LoudSeconds, {second});
            }
            if (IsClear()) break;
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
            if (measure.correlation >= minCorrelation_)
                Try(measure.offset, AlignmentMethod::Ranges, {});
            progress_.Update(++done);
            if (IsClear()) break;
        }
        progress_.End();
    }

    void Conclude() {
        const Measure& refined = result_.found.refined;
        if (refined.correlation < minCorrelation_) {
            result_.found.chance = ChanceCorrelation(pair_, refined, {});
        }
        if (IsSignificant(result_.found)) {
            result_.verdict = Verdict::Aligned;
        } else {
            result_.verdict = refined.correlation >= 0.5 * minCorrelation_ ? Verdict::Uncertain
                                                                           : Verdict::Unrelated;
        }
        if (result_.verdict != Verdict::Aligned) return;
        const FrameRange overlap = pair_.OverlapAt(refined.offset);
        result_.drift = FitDrift(result_.found.places, refined, overlap, pair_.Rate());
        const double audible = AUDIBLE_SECONDS * pair_.Rate();
        if (result_.drift &&
            (std::fabs(result_.drift->change) > audible || result_.drift->residual > audible)) {
            result_.oneOffsetFits = false;
        }
        for (const Measure& place : result_.found.places) {
            if (place.correlation >= std::max(minCorrelation_, STRONG_CORRELATION) &&
                !Agrees(place, refined, pair_.Rate())) {
                result_.oneOffsetFits = false;
            }
        }
    }

    const RecordingPair& pair_;
    double minCorrelation_;
    Progress& progress_;
    AlignmentResult result_;
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

AlignmentResult Align(const RecordingPair& pair, double minCorrelation, Progress& progress) {
    return Aligner(pair, minCorrelation, progress).Run();
}

}  // namespace orlo::host
