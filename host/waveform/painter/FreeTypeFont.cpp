// SPDX-License-Identifier: MIT
#include "host/waveform/painter/FreeTypeFont.h"

#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <string_view>

namespace orlo::host {

namespace {

/// The distances of FreeType are multiples of a 64th of a pixel.
constexpr int UNITS_PER_PIXEL = 64;

struct LibraryCloser {
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};
struct FaceCloser {
    void operator()(FT_Face face) const { FT_Done_Face(face); }
};

class FreeTypeFont final : public LabelFont {
public:
    /// @return whether the file is a font of this size that draws labels
    bool Open(const std::string& file, int pixels) {
        FT_Library library = nullptr;
        if (FT_Init_FreeType(&library) != 0) return false;
        library_.reset(library);
        FT_Face face = nullptr;
        if (FT_New_Face(library, file.c_str(), 0, &face) != 0) return false;
        face_.reset(face);
        return FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixels)) == 0 && HasCharacters();
    }

    int WidthOf(const std::string& text) override {
        int pen = 0;
        for (const char character : text) pen += AdvanceOf(character);
        return pen;
    }

    TextMask Draw(const std::string& text) override {
        TextMask mask = EmptyMask(text);
        int pen = 0;
        for (const char character : text) {
            if (Load(character, FT_LOAD_RENDER)) AddGlyph(pen, mask);
            pen += AdvanceOf(character);
        }
        return mask;
    }

private:
    bool HasCharacters() const {
        constexpr std::string_view NEEDED = "0123456789:;.-+ ALRcs";
        return std::all_of(NEEDED.begin(), NEEDED.end(), [this](char character) {
            return FT_Get_Char_Index(face_.get(), static_cast<FT_ULong>(character)) != 0;
        });
    }

    bool Load(char character, FT_Int32 flags) const {
        const auto code = static_cast<FT_ULong>(static_cast<unsigned char>(character));
        return FT_Load_Char(face_.get(), code, flags | FT_LOAD_TARGET_LIGHT) == 0;
    }

    int AdvanceOf(char character) const {
        if (!Load(character, FT_LOAD_DEFAULT)) return 0;
        const auto units = static_cast<int>(face_->glyph->advance.x);
        return (units + UNITS_PER_PIXEL / 2) / UNITS_PER_PIXEL;
    }

    /// A mask that has room for the font's highest and deepest characters.
    TextMask EmptyMask(const std::string& text) {
        const FT_Size_Metrics& metrics = face_->size->metrics;
        const auto ascent = static_cast<int>(metrics.ascender / UNITS_PER_PIXEL) + 1;
        const auto descent = static_cast<int>(-metrics.descender / UNITS_PER_PIXEL) + 1;
        TextMask mask;
        mask.left = -1;
        mask.top = -ascent;
        mask.width = WidthOf(text) + 2;
        mask.height = ascent + descent;
        mask.coverage.assign(
            static_cast<std::size_t>(mask.width) * static_cast<std::size_t>(mask.height), 0);
        return mask;
    }

    void AddGlyph(int pen, TextMask& mask) const {
        const FT_GlyphSlot glyph = face_->glyph;
        const FT_Bitmap& bitmap = glyph->bitmap;
        for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
            const int y = row - glyph->bitmap_top - mask.top;
            if (y < 0 || y >= mask.height) continue;
            for (int column = 0; column < static_cast<int>(bitmap.width); ++column) {
                const int x = pen + glyph->bitmap_left + column - mask.left;
                if (x < 0 || x >= mask.width) continue;
                unsigned char& pixel = mask.coverage[static_cast<std::size_t>(y) *
                                                         static_cast<std::size_t>(mask.width) +
                                                     static_cast<std::size_t>(x)];
                pixel = std::max(pixel, bitmap.buffer[row * bitmap.pitch + column]);
            }
        }
    }

    std::unique_ptr<FT_LibraryRec_, LibraryCloser> library_;
    std::unique_ptr<FT_FaceRec_, FaceCloser> face_;
};

}  // namespace

std::unique_ptr<LabelFont> OpenFreeTypeFont(const std::string& file, int pixels) {
    auto font = std::make_unique<FreeTypeFont>();
    if (!font->Open(file, pixels)) return nullptr;
    return font;
}

}  // namespace orlo::host
