// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "sonrel/base/Export.h"

namespace orlo::sonrel {

struct WaveformPreviewImpl;

/// Draws a peak file as a picture into a buffer of the host.
///
/// The object contains settings only: no image and no open file. Each CreateImage opens the peak
/// file again, so that a replaced file is used immediately, and reads all blocks of the range.
///
/// Positions are sample frames of the stream at its own rate, ends exclusive.
///
/// Threads: no lock. Separate objects may draw in parallel, and one object may too while no setter
/// runs.
class SONREL_EXPORT WaveformPreview {
public:
    struct Color {
        unsigned char red;    ///< 0 to 255
        unsigned char green;  ///< 0 to 255
        unsigned char blue;   ///< 0 to 255
        unsigned char alpha;  ///< 0 is clear, 255 is solid

        friend bool operator==(const Color&, const Color&) = default;
    };  ///< a colour of 8 bits a channel

    /// Any other value draws as ChannelsOverlaid.
    enum class Style : int {
        ChannelLanes = 0,      ///< a lane for each channel, the first at the top; peaks
        ChannelsOverlaid = 1,  ///< all channels on one line in the middle; peaks
        RMSEnvelope = 2,       ///< a filled shape on the bottom row; RMS of all channels together
    };

    /// The amplitude axis.
    enum class Scale : int {
        Linear = 0,       ///< proportional
        Logarithmic = 1,  ///< natural logarithm from 0.01 to 1.0; also any other value
    };

    /// The layout of pixels in memory: rows from the top, each row padded to a multiple of 4 bytes.
    /// Any other value acts as ARGB32.
    enum class Format : int {
        RGB888 = 0,  ///< three bytes: red, green, blue; the alpha of the colours is ignored
        ARGB32 = 1,  ///< 32-bit words 0xAARRGGBB in the machine's byte order, not premultiplied
    };

    /// Results of CreateImage below 0.
    static constexpr int PEAK_FILE_NOT_OPENED = -1;   ///< missing, or not a peak file with blocks
    static constexpr int OTHER_CHANNEL_COUNT = -2;    ///< the file has another channel count
    static constexpr int PEAK_FILE_READ_FAILED = -3;  ///< the file is cut short, or a width below 0
    static constexpr int BUFFER_REFUSED = -4;         ///< null, or the finished image is bigger
    static constexpr int RANGE_REVERSED = -5;         ///< the range ends before it starts
    static constexpr int PAINTER_NOT_LOADED = -6;     ///< see PainterFailure

    /// Stores the properties of a stream. The file is not opened. The range is the whole stream,
    /// the waveform black on a transparent background, the style RMSEnvelope, the scale linear.
    /// @param sampleRate    hertz
    /// @param sampleCount   sample frames
    /// @param channelCount  at most 16; no lower limit, but no file matches a count below 1
    /// @param peakFilePath  the `.xwpk` file
    /// @throws std::runtime_error "Unsupported channel count" or, for an empty path, "Waveform peak
    ///         file error"
    WaveformPreview(int sampleRate, long long sampleCount, int channelCount,
                    const std::wstring& peakFilePath);
    ~WaveformPreview();
    WaveformPreview(const WaveformPreview&) = delete;
    WaveformPreview& operator=(const WaveformPreview&) = delete;

    Color BackgroundColor() const;                ///< clear at first
    void SetBackgroundColor(const Color& color);  ///< for the next image
    Color WaveformColor() const;                  ///< black at first
    void SetWaveformColor(const Color& color);    ///< for the next image

    /// Start and end of the range.
    std::pair<long long, long long> PreviewRangeSamples() const;
    /// Sets the range. A start below 0 becomes 0, an end beyond the stream becomes the end of the
    /// stream. A start beyond the end is stored: CreateImage then returns RANGE_REVERSED.
    void SetPreviewRangeSamples(long long start, long long end);
    /// Sets the range in seconds, each rounded half away from zero to a sample frame and then
    /// limited as above. A time outside the 64-bit positions, and a NaN, count as a position far
    /// before the stream.
    void SetPreviewRangeTime(double start, double end);
    /// Sets the range to the whole stream.
    void ClearPreviewRange();

    Style PreviewStyle() const;         ///< RMSEnvelope at first
    void SetPreviewStyle(Style style);  ///< for the next image
    Scale PreviewScale() const;         ///< Linear at first
    void SetPreviewScale(Scale scale);  ///< for the next image

    /// The size of the image that CreateImage would copy into a buffer, in the layout that it would
    /// have: a buffer of this size is sufficient, whether the image is stretched or not. Reads the
    /// header of the peak file and draws nothing.
    ///
    /// Call it before CreateImage to distinguish the two meanings of its result 0: an image in the
    /// buffer, or no image and an unchanged buffer.
    /// @return above 0, bytes; 2147483647 for more than any buffer can have. 0 without an image,
    ///         when CreateImage with any sufficient buffer returns 0 and leaves it unchanged: a
    ///         width of 0, a height below 1, a range without a block, or an image that exceeds the
    ///         memory. Below 0 one of the codes above, which CreateImage would return too;
    ///         PEAK_FILE_READ_FAILED for a width below 0
    int ImageBytes(int width, int height, Format format) const;

    /// Draws the range and copies the image into a buffer.
    ///
    /// The drawing has one column for each point read, at most one for each pixel of the width.
    /// With fewer points than pixels it is stretched to the width by smooth scaling, which changes
    /// the layout of the image: RGB888 becomes 32-bit words 0xffRRGGBB (the buffer then needs
    /// 4 * width * height bytes, although the size test requires less), and ARGB32 becomes
    /// premultiplied by alpha.
    ///
    /// @param width   pixels. 0 makes an image without pixels: result 0, nothing copied. Below 0
    ///                the result is PEAK_FILE_READ_FAILED
    /// @param height  pixels. Below 1 makes an image without pixels
    /// @param buffer  receives the image
    /// @param bufferBytes  size of the buffer
    /// @return 0 when the image is in the buffer. Also 0, with an unchanged buffer, without an
    ///         image: a width of 0, a height below 1, a range without a block (start equal to end
    ///         on a multiple of 32 inside the stream), or an image that exceeds the memory.
    ///         ImageBytes returns 0 for all of these.
    ///         Above 0, the bytes of an image of this size and format, when the buffer is smaller
    ///         (2147483647 for more than any buffer can have): nothing was read or written.
    ///         Below 0, one of the codes above. BUFFER_REFUSED for an image that outgrew its buffer
    ///         by the scaling zeroes the buffer; the other codes leave it unchanged.
    int CreateImage(int width, int height, Format format, unsigned char* buffer,
                    int bufferBytes) const;

    /// Loads the drawing library, as the first call of ImageBytes or CreateImage does. It stays
    /// loaded until the process ends. Any thread.
    /// @throws std::bad_alloc when there is not enough memory for it
    /// @return empty when the library is loaded; otherwise the reason, which names the missing file
    static std::string PainterFailure();

private:
    std::unique_ptr<WaveformPreviewImpl> impl_;
};

}  // namespace orlo::sonrel
