// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "sonrel/cache/detail/MediaFingerprint.h"
#include "tests/cache/CacheHelperFixture.h"

namespace sonrel_tests {

/// The fixture of the typed suites, whose rules apply to all kinds of cache files.
template <class Kind>
class CacheHelperTest : public Kind {
protected:
    /// While this process writes its record, another process adds its own file and record.
    void LetAnotherProcessRecordFirst() {
        this->db.add = [this] {
            const std::string name = std::string("theirs") + Kind::EXTENSION;
            WriteFile(this->folder / "cache" / name, "theirs");
            this->AddRecord(orlo::sonrel::detail::MediaFingerprint(this->mediaPath),
                            zrtl::FromUtf8(name));
        };
    }
    std::string TheirFile() const { return std::string("theirs") + Kind::EXTENSION; }

    std::wstring OnlyCacheFile() const {
        return this->folder.Wide("cache/" + this->CacheFiles().at(0));
    }

    void ExpectNoCalls() {
        EXPECT_THAT(this->db.Calls(), testing::IsEmpty());
        EXPECT_THAT(this->media.Calls(), testing::IsEmpty());
        EXPECT_THAT(this->Log(), testing::IsEmpty());
    }
};

using CacheKinds = testing::Types<ConformedFileFixture, PeakFileHelperFixture>;

struct CacheKindNames {
    template <class Kind>
    static std::string GetName(int index) {
        return index == 0 ? "ConformedFile" : "PeakFile";
    }
};

}  // namespace sonrel_tests
