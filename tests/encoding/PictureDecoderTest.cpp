// The program's own cover decoder: PNG and JPEG pictures come out pixel for pixel, and a broken,
// cut or oversized picture gives no image and never ends the program.
#include "encoding/PictureDecoder.h"

#include <gtest/gtest.h>

#include <jpeglib.h>

namespace
{
juce::MemoryBlock pngOf (const juce::Image& image)
{
    juce::MemoryOutputStream stream;
    juce::PNGImageFormat().writeImageToStream (image, stream);
    return stream.getMemoryBlock();
}

juce::MemoryBlock jpegOf (const juce::Image& image)
{
    juce::MemoryOutputStream stream;
    juce::JPEGImageFormat jpeg;
    jpeg.setQuality (1.0f);
    jpeg.writeImageToStream (image, stream);
    return stream.getMemoryBlock();
}

juce::Image decode (const juce::MemoryBlock& bytes)
{
    return PictureDecoder::decode (bytes.getData(), bytes.getSize());
}

/** A picture of four coloured quarters. */
juce::Image quarters (int width, int height)
{
    juce::Image image (juce::Image::RGB, width, height, true, juce::SoftwareImageType());
    juce::Graphics g (image);
    g.setColour (juce::Colours::red);
    g.fillRect (0, 0, width / 2, height / 2);
    g.setColour (juce::Colours::lime);
    g.fillRect (width / 2, 0, width - width / 2, height / 2);
    g.setColour (juce::Colours::blue);
    g.fillRect (0, height / 2, width / 2, height - height / 2);
    g.setColour (juce::Colours::yellow);
    g.fillRect (width / 2, height / 2, width - width / 2, height - height / 2);
    return image;
}

bool near (juce::Colour pixel, juce::Colour expected, int tolerance)
{
    return std::abs (pixel.getRed() - expected.getRed()) <= tolerance &&
           std::abs (pixel.getGreen() - expected.getGreen()) <= tolerance &&
           std::abs (pixel.getBlue() - expected.getBlue()) <= tolerance &&
           std::abs (pixel.getAlpha() - expected.getAlpha()) <= tolerance;
}

/** A CMYK JPEG as print pictures come, written by libjpeg itself: every pixel the same inks. */
juce::MemoryBlock cmykJpeg (int width, int height, const juce::uint8 inks[4], bool adobeInverted)
{
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error (&errors);
    jpeg_create_compress (&info);

    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest (&info, &buffer, &size);
    info.image_width = (JDIMENSION) width;
    info.image_height = (JDIMENSION) height;
    info.input_components = 4;
    info.in_color_space = JCS_CMYK;
    jpeg_set_defaults (&info);
    jpeg_set_quality (&info, 100, TRUE);
    info.write_Adobe_marker = adobeInverted ? TRUE : FALSE;
    jpeg_start_compress (&info, TRUE);

    std::vector<JSAMPLE> line ((size_t) width * 4);
    for (int x = 0; x < width; ++x)
        for (int i = 0; i < 4; ++i)
            line[(size_t) x * 4 + (size_t) i] = adobeInverted ? (JSAMPLE) (255 - inks[i]) : (JSAMPLE) inks[i];

    while (info.next_scanline < info.image_height)
    {
        JSAMPROW row = line.data();
        jpeg_write_scanlines (&info, &row, 1);
    }

    jpeg_finish_compress (&info);
    jpeg_destroy_compress (&info);
    juce::MemoryBlock result (buffer, size);
    free (buffer);
    return result;
}

/** The bytes of a PNG whose header is rewritten to claim another size (its checksum made right). */
juce::MemoryBlock withClaimedSize (juce::MemoryBlock png, juce::uint32 width, juce::uint32 height)
{
    auto* bytes = static_cast<juce::uint8*> (png.getData());
    const auto putBig = [] (juce::uint8* at, juce::uint32 value)
    {
        at[0] = (juce::uint8) (value >> 24);
        at[1] = (juce::uint8) (value >> 16);
        at[2] = (juce::uint8) (value >> 8);
        at[3] = (juce::uint8) value;
    };
    putBig (bytes + 16, width);
    putBig (bytes + 20, height);

    // CRC-32 of the chunk's type and data, as PNG wants it.
    juce::uint32 crc = 0xffffffff;
    for (int i = 12; i < 29; ++i)
    {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
    }
    putBig (bytes + 29, crc ^ 0xffffffff);
    return png;
}
} // namespace

TEST (PictureDecoder, aPngComesOutPixelForPixelWithItsTransparency)
{
    juce::Image picture (juce::Image::ARGB, 3, 2, true, juce::SoftwareImageType());
    picture.setPixelAt (0, 0, juce::Colours::red);
    picture.setPixelAt (1, 0,
                        juce::Colour ((juce::uint8) 0x80, (juce::uint8) 0x40, (juce::uint8) 0x20, (juce::uint8) 0x80));
    picture.setPixelAt (2, 0, juce::Colours::transparentBlack);
    picture.setPixelAt (0, 1, juce::Colours::white);
    picture.setPixelAt (1, 1,
                        juce::Colour ((juce::uint8) 0x10, (juce::uint8) 0x20, (juce::uint8) 0x30, (juce::uint8) 0xff));
    picture.setPixelAt (2, 1,
                        juce::Colour ((juce::uint8) 0xff, (juce::uint8) 0xff, (juce::uint8) 0x00, (juce::uint8) 0x40));

    const auto decoded = decode (pngOf (picture));

    ASSERT_TRUE (decoded.isValid());
    ASSERT_EQ (decoded.getWidth(), 3);
    ASSERT_EQ (decoded.getHeight(), 2);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            EXPECT_TRUE (near (decoded.getPixelAt (x, y), picture.getPixelAt (x, y), 2))
                << x << "," << y << ": " << decoded.getPixelAt (x, y).toString() << " for "
                << picture.getPixelAt (x, y).toString();
}

TEST (PictureDecoder, aJpegComesOutWithItsSizeAndColours)
{
    const auto picture = quarters (64, 48);

    const auto decoded = decode (jpegOf (picture));

    ASSERT_TRUE (decoded.isValid());
    EXPECT_EQ (decoded.getWidth(), 64);
    EXPECT_EQ (decoded.getHeight(), 48);
    EXPECT_TRUE (near (decoded.getPixelAt (8, 8), juce::Colours::red, 12));
    EXPECT_TRUE (near (decoded.getPixelAt (56, 8), juce::Colours::lime, 12));
    EXPECT_TRUE (near (decoded.getPixelAt (8, 40), juce::Colours::blue, 12));
    EXPECT_TRUE (near (decoded.getPixelAt (56, 40), juce::Colours::yellow, 12));
}

TEST (PictureDecoder, aCmykJpegFromPrintComesOutInItsColoursInvertedOrNot)
{
    // Full cyan and yellow ink, no magenta, no black: green.
    const juce::uint8 inks[4] = { 255, 0, 255, 0 };

    for (const bool adobe : { false, true })
    {
        const auto decoded = decode (cmykJpeg (16, 16, inks, adobe));

        ASSERT_TRUE (decoded.isValid()) << adobe;
        EXPECT_EQ (decoded.getWidth(), 16);
        EXPECT_TRUE (near (decoded.getPixelAt (8, 8), juce::Colour (0, 255, 0), 8))
            << adobe << ": " << decoded.getPixelAt (8, 8).toString();
    }
}

TEST (PictureDecoder, aPictureCutAtAnyLengthGivesNoImageOrWhatWasThere)
{
    const auto picture = quarters (24, 16);

    for (const auto& whole : { pngOf (picture), jpegOf (picture) })
    {
        for (size_t length = 0; length < whole.getSize(); ++length)
        {
            const auto decoded = PictureDecoder::decode (whole.getData(), length);
            if (decoded.isValid())
            {
                EXPECT_EQ (decoded.getWidth(), 24) << length;
                EXPECT_EQ (decoded.getHeight(), 16) << length;
            }
        }
    }

    // A PNG cut inside its pixels is refused; its header alone is not enough.
    const auto png = pngOf (picture);
    EXPECT_FALSE (PictureDecoder::decode (png.getData(), 40).isValid());
    EXPECT_FALSE (PictureDecoder::decode (png.getData(), png.getSize() - 13).isValid());
}

TEST (PictureDecoder, aPngClaimingAHugeSizeIsNotDecoded)
{
    const auto png = pngOf (quarters (4, 4));

    EXPECT_TRUE (decode (withClaimedSize (png, 4, 4)).isValid());
    EXPECT_FALSE (decode (withClaimedSize (png, PictureDecoder::largestSide + 1, 1)).isValid());
    EXPECT_FALSE (decode (withClaimedSize (png, 1, 0x7fffffff)).isValid());
    EXPECT_FALSE (decode (withClaimedSize (png, 10000, 10000)).isValid());
    EXPECT_FALSE (decode (withClaimedSize (png, 0, 4)).isValid());
}

TEST (PictureDecoder, bytesThatAreNoPngOrJpegGiveNoImage)
{
    const juce::String gif ("GIF89a\x01\x00\x01\x00\x00\x00\x00;");
    EXPECT_FALSE (PictureDecoder::decode (gif.toRawUTF8(), gif.getNumBytesAsUTF8()).isValid());
    EXPECT_FALSE (PictureDecoder::decode (nullptr, 0).isValid());
    EXPECT_FALSE (PictureDecoder::decode ("\xff\xd8", 2).isValid());
    EXPECT_FALSE (PictureDecoder::decode ("\x89PNG\r\n\x1a\n", 8).isValid());

    juce::MemoryBlock garbage (4096);
    juce::Random random (7);
    random.fillBitsRandomly (garbage.getData(), garbage.getSize());
    static_cast<juce::uint8*> (garbage.getData())[0] = 0xff;
    static_cast<juce::uint8*> (garbage.getData())[1] = 0xd8;
    EXPECT_FALSE (decode (garbage).isValid());
}

TEST (PictureDecoder, aStreamIsReadFromWhereItStands)
{
    juce::MemoryOutputStream bytes;
    bytes.writeString ("ahead");
    const auto png = pngOf (quarters (10, 6));
    bytes.write (png.getData(), png.getSize());

    juce::MemoryInputStream stream (bytes.getData(), bytes.getDataSize(), false);
    stream.setPosition (6);
    const auto decoded = PictureDecoder::decode (stream);

    ASSERT_TRUE (decoded.isValid());
    EXPECT_EQ (decoded.getWidth(), 10);
    EXPECT_EQ (decoded.getHeight(), 6);
}
