// SPDX-License-Identifier: MIT
#include "host/waveform/LabelFont.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "host/shell/Errors.h"
#include "host/waveform/PicturePainter.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace orlo::host;

constexpr const char* DEJAVU = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

/// Sets the folders of fonts for a test.
class FontFolderScope {
public:
    FontFolderScope(const std::string& home, const std::string& shared) {
        setenv("XDG_DATA_HOME", home.c_str(), 1);
        setenv("XDG_DATA_DIRS", shared.c_str(), 1);
    }
    ~FontFolderScope() {
        unsetenv("XDG_DATA_HOME");
        unsetenv("XDG_DATA_DIRS");
    }
};

std::unique_ptr<LabelFont> OpenFont(const std::string& file) {
    return FindPicturePainter().openFont(file, 11);
}

TEST(LabelFont, DrawsTextWithinItsWidth) {
    const std::unique_ptr<LabelFont> font = OpenFont(DEJAVU);
    ASSERT_NE(font, nullptr);

    // The advance of a digit is 1303 of 2048 units: 7.0 pixels of 11.
    EXPECT_EQ(font->WidthOf("00"), 14);
    EXPECT_EQ(font->WidthOf(""), 0);
    const TextMask mask = font->Draw("0");
    ASSERT_EQ(mask.coverage.size(),
              static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height));
    EXPECT_GE(*std::max_element(mask.coverage.begin(), mask.coverage.end()), 128);
    for (int row = 0; row < mask.height; ++row) {
        for (int column = 0; column < mask.width; ++column) {
            const int y = mask.top + row;
            const int x = mask.left + column;
            const bool inside = x >= 0 && x < 7 && y >= -9 && y < 1;
            const int coverage = mask.coverage[static_cast<std::size_t>(row * mask.width + column)];
            EXPECT_TRUE(inside || coverage == 0) << x << ", " << y;
        }
    }
}

TEST(LabelFont, AFileThatIsNotAFontIsRefusedWithItsName) {
    const sonrel_tests::TemporaryFolder folder;
    const std::string file = (folder / "text.ttf").string();
    sonrel_tests::WriteFile(file, "no font");

    EXPECT_EQ(OpenFont(file), nullptr);
    EXPECT_EQ(OpenFont(file + ".gone"), nullptr);
    try {
        FindLabelFont(file, FindPicturePainter().openFont);
        FAIL();
    } catch (const JobError& error) {
        EXPECT_NE(std::string(error.what()).find("text.ttf"), std::string::npos);
    }
}

TEST(FontFiles, StartWithTheKnownFontsAndContinueByPath) {
    const sonrel_tests::TemporaryFolder folder;
    for (const char* name : {"home/fonts/b.otf", "home/fonts/x.pcf", "one/fonts/deep/A.TTF",
                             "two/fonts/LiberationSans-Regular.ttf", "two/fonts/DejaVuSans.ttf"}) {
        std::filesystem::create_directories((folder / name).parent_path());
        sonrel_tests::WriteFile(folder / name, "");
    }
    const FontFolderScope scope((folder / "home").string(),
                                (folder / "one").string() + ":" + (folder / "two").string());

    EXPECT_EQ(FontFiles(),
              (std::vector<std::string>{(folder / "two/fonts/DejaVuSans.ttf").string(),
                                        (folder / "two/fonts/LiberationSans-Regular.ttf").string(),
                                        (folder / "home/fonts/b.otf").string(),
                                        (folder / "one/fonts/deep/A.TTF").string()}));
}

TEST(FontFiles, AFileThatIsNotAFontIsSkippedAndAMachineWithoutFontsHasNone) {
    const sonrel_tests::TemporaryFolder folder;
    std::filesystem::create_directories(folder / "home/fonts");
    sonrel_tests::WriteFile(folder / "home/fonts/DejaVuSans.ttf", "no font");
    const FontFolderScope scope((folder / "home").string(), (folder / "none").string());
    EXPECT_EQ(FindLabelFont("", FindPicturePainter().openFont), nullptr);

    std::filesystem::create_symlink(DEJAVU, folder / "home/fonts/Other.ttf");

    EXPECT_NE(FindLabelFont("", FindPicturePainter().openFont), nullptr);
}

}  // namespace
