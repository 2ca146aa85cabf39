// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <vector>

#include "host/media/EngineSession.h"
#include "host/options/GlobalOptions.h"
#include "host/output/OutputGuard.h"
#include "host/report/ClipWaves.h"
#include "host/report/MasterLevels.h"
#include "host/report/ReportOptions.h"
#include "host/report/ReportPage.h"
#include "host/shell/Outcome.h"
#include "host/shell/Progress.h"
#include "host/timeline/Input.h"

namespace orlo::host {

/// Makes the page of an INPUT.
class PageMaker {
public:
    virtual ~PageMaker() = default;

    /// Protects the files that the page is made from.
    virtual void Protect(OutputGuard& guard) const = 0;

    /// Prepares the media files, measures the mix and collects the content of the page.
    /// @throws JobError when a media file cannot be read; CommandError when the program is asked to
    ///         stop
    virtual ReportPage Make(const EngineSession& session, Progress& progress) = 0;

    /// Adds the result of a page that is written to a report and its text, and fails where a
    /// condition does not hold.
    virtual void Report(const ReportPage& page, Outcome& outcome) const = 0;
};

/// Reads a timeline. The options outlive the result.
/// @throws JobError or UsageError with the name of the file
std::unique_ptr<PageMaker> OpenTimelinePage(const GlobalOptions& global,
                                            const ReportOptions& options);

/// Opens a media file. The options outlive the result. @throws JobError with the name of the file
std::unique_ptr<PageMaker> OpenMediaPage(const GlobalOptions& global, const ReportOptions& options);

/// The result of finding or making the peak files of media files.
struct FoundPeaks {
    PeakSounds sounds;
    std::vector<std::string> failures;  ///< clauses about sounds of too many channels
};

/// Finds or makes the peak files of all media files with sound.
/// @param media  imported
/// @throws JobError when the database fails or a peak file cannot be made; CommandError when the
///         program is asked to stop
FoundPeaks FindPeaks(const EngineSession& session, const std::vector<MediaUse>& media,
                     Progress& progress);

/// Adds the media files without a waveform to a summary.
void SummarizeWaves(const FoundPeaks& peaks, Summary& summary);

/// The keys of every page: rates, length and levels.
/// @param levels  null for a timeline without length
void ReportLevels(const ReportPage& page, const MasterLevels* levels, Outcome& outcome);

}  // namespace orlo::host
