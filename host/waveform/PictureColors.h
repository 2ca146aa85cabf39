// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <vector>

#include "sonrel/waveform/WaveformPreview.h"

namespace orlo::host {

/// The colours of a picture.
struct PictureColors {
    using Color = sonrel::WaveformPreview::Color;

    std::vector<Color> channels;  ///< one or more; channels that exceed them start again
    Color background{};
    Color ink{};   ///< rulers and scales
    Color clip{};  ///< marks of clipped stretches

    const Color& OfChannel(int channel) const {
        return channels[static_cast<std::size_t>(channel) % channels.size()];
    }
};

/// Contrast between the luminances of two colours, 1 to 21; alpha is ignored.
double Contrast(const PictureColors::Color& one, const PictureColors::Color& other);

/// The color, or the closest mix with white or with black that has a contrast of at least 3 to the
/// background.
PictureColors::Color Readable(const PictureColors::Color& color,
                              const PictureColors::Color& background);

/// The colours of a picture for which some or none are given.
///
/// Without a background the picture is white, or black where the given colours have more contrast
/// to black. Without colours each channel has a separate colour with a contrast of at least 3 to
/// the background; on a translucent background to white and to black.
/// @param given  empty: none are given
PictureColors ResolveColors(const std::vector<PictureColors::Color>& given,
                            const std::optional<PictureColors::Color>& background);

/// The mix of two colours by their alpha.
/// @param share  of @p top, 0 to 255; 0 results in @p bottom, 255 in @p top
PictureColors::Color Mix(const PictureColors::Color& bottom, const PictureColors::Color& top,
                         int share);

/// A colour over another one.
/// @param coverage  of @p top, 0 to 255, in addition to its alpha
PictureColors::Color Over(const PictureColors::Color& top, int coverage,
                          const PictureColors::Color& bottom);

}  // namespace orlo::host
