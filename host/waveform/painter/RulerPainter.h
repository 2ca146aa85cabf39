// SPDX-License-Identifier: MIT
#pragma once

#include <QImage>

#include "host/waveform/WaveformRuler.h"

namespace orlo::host {

/// Copies an image and draws a ruler below it.
/// @param picture  receives both; RULER_HEIGHT rows higher than the image, of the same format
void PaintRuler(const QImage& image, const Ruler& ruler, QImage& picture);

}  // namespace orlo::host
