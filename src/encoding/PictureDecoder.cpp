#include "encoding/PictureDecoder.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>
#include <png.h>

namespace
{
bool sizeFits (juce::int64 width, juce::int64 height)
{
    return width >= 1 && height >= 1 && width <= PictureDecoder::largestSide && height <= PictureDecoder::largestSide &&
           width * height <= PictureDecoder::mostPixels;
}

/** An image whose pixels this file writes itself, in memory, whatever the platform's images are. */
juce::Image blankImage (int width, int height)
{
    return juce::Image (juce::Image::ARGB, width, height, false, juce::SoftwareImageType());
}

bool startsWith (const void* data, size_t size, const void* signature, size_t length)
{
    return size >= length && std::memcmp (data, signature, length) == 0;
}

//==============================================================================
// PNG through libpng's simplified reader, which keeps its error handling to itself and reports
// failure as a result.

juce::Image decodePng (const void* data, size_t size)
{
    png_image png;
    std::memset (&png, 0, sizeof (png));
    png.version = PNG_IMAGE_VERSION;

    if (png_image_begin_read_from_memory (&png, data, size) == 0)
        return {};

    if (! sizeFits (png.width, png.height))
    {
        png_image_free (&png);
        return {};
    }

    png.format = PNG_FORMAT_RGBA;
    auto image = blankImage ((int) png.width, (int) png.height);
    juce::Image::BitmapData pixels (image, juce::Image::BitmapData::readWrite);

    // Frees what libpng holds, whether it succeeds or not.
    if (png_image_finish_read (&png, nullptr, pixels.data, (png_int_32) pixels.lineStride, nullptr) == 0)
        return {};

    // Straight RGBA bytes become the image's own premultiplied pixels, in place: both take four bytes.
    for (int y = 0; y < pixels.height; ++y)
    {
        for (int x = 0; x < pixels.width; ++x)
        {
            auto* bytes = pixels.getPixelPointer (x, y);
            const auto red = bytes[0], green = bytes[1], blue = bytes[2], alpha = bytes[3];
            auto* pixel = reinterpret_cast<juce::PixelARGB*> (bytes);
            pixel->setARGB (alpha, red, green, blue);
            pixel->premultiply();
        }
    }

    return image;
}

//==============================================================================
// JPEG through libjpeg. libjpeg's errors must not return to it: they leave through longjmp to
// the start of the step that was running. The steps below hold only plain values, so that
// leaving them skips no destructor.

/** A JPEG with more scans than this is no photo but a trap that makes the decoder loop. */
constexpr int mostJpegScans = 1000;

/** A JPEG that warns more often than this is given up: its data is broken throughout. */
constexpr long mostJpegWarnings = 10000;

struct JpegErrors
{
    jpeg_error_mgr manager; // first, so that libjpeg's pointer to it is a pointer to this
    std::jmp_buf leave;
};

[[noreturn]] void leaveJpeg (j_common_ptr info)
{
    std::longjmp (reinterpret_cast<JpegErrors*> (info->err)->leave, 1);
}

/** Warnings of broken data are counted, never printed. */
void countJpegWarning (j_common_ptr info, int level)
{
    if (level < 0 && ++info->err->num_warnings > mostJpegWarnings)
        leaveJpeg (info);
}

void watchJpegScans (j_common_ptr info)
{
    if (info->is_decompressor && reinterpret_cast<j_decompress_ptr> (info)->input_scan_number > mostJpegScans)
        leaveJpeg (info);
}

bool startJpeg (jpeg_decompress_struct& info, JpegErrors& errors, const void* data, size_t size)
{
    if (setjmp (errors.leave) != 0)
        return false;

    jpeg_create_decompress (&info);
    jpeg_mem_src (&info, static_cast<const unsigned char*> (data), (unsigned long) size);
    return jpeg_read_header (&info, TRUE) == JPEG_HEADER_OK;
}

bool readJpegLines (jpeg_decompress_struct& info, JpegErrors& errors, juce::uint8* pixels, int lineStride)
{
    if (setjmp (errors.leave) != 0)
        return false;

    // CMYK pictures (from print) come as they are and are turned into RGB here; Adobe's store
    // their inks inverted.
    const bool cmyk = info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
    const bool inverted = info.saw_Adobe_marker;
    info.out_color_space = cmyk ? JCS_CMYK : JCS_RGB;
    info.quantize_colors = FALSE;
    jpeg_start_decompress (&info);

    const auto components = info.output_components;
    if (components != (cmyk ? 4 : 3) || info.output_width != info.image_width ||
        info.output_height != info.image_height)
        return false;

    auto line = (*info.mem->alloc_sarray) (reinterpret_cast<j_common_ptr> (&info), JPOOL_IMAGE,
                                           info.output_width * (JDIMENSION) components, 1);

    while (info.output_scanline < info.output_height)
    {
        const auto y = info.output_scanline;
        if (jpeg_read_scanlines (&info, line, 1) != 1)
            return false;

        auto* row = pixels + (size_t) y * (size_t) lineStride;
        for (JDIMENSION x = 0; x < info.output_width; ++x)
        {
            const auto* in = line[0] + (size_t) x * (size_t) components;
            auto* pixel = reinterpret_cast<juce::PixelARGB*> (row + (size_t) x * 4);

            if (! cmyk)
            {
                pixel->setARGB (255, in[0], in[1], in[2]);
                continue;
            }

            const auto ink = [&] (int i) { return inverted ? (int) in[i] : 255 - (int) in[i]; };
            const auto black = ink (3);
            pixel->setARGB (255, (juce::uint8) (ink (0) * black / 255), (juce::uint8) (ink (1) * black / 255),
                            (juce::uint8) (ink (2) * black / 255));
        }
    }

    jpeg_finish_decompress (&info);
    return true;
}

juce::Image decodeJpeg (const void* data, size_t size)
{
    jpeg_decompress_struct info;
    std::memset (&info, 0, sizeof (info));
    JpegErrors errors;
    info.err = jpeg_std_error (&errors.manager);
    errors.manager.error_exit = leaveJpeg;
    errors.manager.emit_message = countJpegWarning;

    jpeg_progress_mgr progress;
    std::memset (&progress, 0, sizeof (progress));
    progress.progress_monitor = watchJpegScans;

    juce::Image image;
    if (startJpeg (info, errors, data, size) && sizeFits (info.image_width, info.image_height))
    {
        info.progress = &progress;
        image = blankImage ((int) info.image_width, (int) info.image_height);
        bool decoded = false;
        {
            juce::Image::BitmapData pixels (image, juce::Image::BitmapData::writeOnly);
            decoded = readJpegLines (info, errors, pixels.data, pixels.lineStride);
        }

        if (! decoded)
            image = {};
    }

    jpeg_destroy_decompress (&info);
    return image;
}
} // namespace

juce::Image PictureDecoder::decode (const void* data, size_t size)
{
    static const juce::uint8 pngSignature[] = { 0x89, 'P', 'N', 'G', 0x0d, 0x0a, 0x1a, 0x0a };
    static const juce::uint8 jpegSignature[] = { 0xff, 0xd8 };

    if (data == nullptr || (juce::int64) size > largestFile)
        return {};

    if (startsWith (data, size, pngSignature, sizeof (pngSignature)))
        return decodePng (data, size);

    if (startsWith (data, size, jpegSignature, sizeof (jpegSignature)))
        return decodeJpeg (data, size);

    return {};
}

juce::Image PictureDecoder::decode (juce::InputStream& stream)
{
    const auto length = stream.getTotalLength();
    if (length > largestFile)
        return {};

    juce::MemoryBlock bytes;
    stream.readIntoMemoryBlock (bytes, largestFile + 1);
    return decode (bytes.getData(), bytes.getSize());
}
