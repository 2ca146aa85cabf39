// SPDX-License-Identifier: MIT
#include "host/waveform/PicturePainter.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <cstring>

#include "host/waveform/painter/FreeTypeFont.h"

namespace orlo::host {

namespace {

QImage::Format PixelFormat(Picture::Format format) {
    switch (format) {
        case Picture::Format::RGB888:
            return QImage::Format_RGB888;
        case Picture::Format::RGB32:
            return QImage::Format_RGB32;
        case Picture::Format::ARGB32Premultiplied:
            return QImage::Format_ARGB32_Premultiplied;
        case Picture::Format::RGBA8888:
            return QImage::Format_RGBA8888;
        case Picture::Format::ARGB32:
            break;
    }
    return QImage::Format_ARGB32;
}

/// The pixels of a picture, which are not copied.
QImage ViewOf(const Picture& picture) {
    return QImage(picture.bytes.get(), picture.width, picture.height, picture.RowBytes(),
                  PixelFormat(picture.format));
}

Picture ToRgba(const Picture& picture) {
    constexpr Picture::Format FORMAT = Picture::Format::RGBA8888;
    const QImage image = ViewOf(picture).convertToFormat(PixelFormat(FORMAT));
    if (image.isNull()) return {};
    Picture rgba = Picture::Make(picture.width, picture.height, FORMAT);
    if (rgba.bytes != nullptr) std::memcpy(rgba.bytes.get(), image.constBits(), rgba.Size());
    return rgba;
}

std::string EncodePng(const Picture& picture) {
    QByteArray bytes;
    QBuffer buffer(&bytes);
    // A write to memory fails only without enough memory.
    if (!buffer.open(QIODevice::WriteOnly) || !ViewOf(picture).save(&buffer, "PNG")) return {};
    return bytes.toStdString();
}

}  // namespace

}  // namespace orlo::host

const orlo::host::PicturePainter* SonrelPicturePainter() {
    static constexpr orlo::host::PicturePainter PAINTER = {
        &orlo::host::OpenFreeTypeFont, &orlo::host::ToRgba, &orlo::host::EncodePng};
    return &PAINTER;
}
