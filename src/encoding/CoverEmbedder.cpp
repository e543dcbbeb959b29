#include "encoding/CoverEmbedder.h"

#include "encoding/PictureDecoder.h"

#include <cstring>

namespace
{
const juce::uint8 jpegSignature[] = { 0xff, 0xd8, 0xff };
const juce::uint8 pngSignature[] = { 0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n' };

bool startsWith (const void* data, size_t size, const juce::uint8* signature, size_t length)
{
    return size >= length && std::memcmp (data, signature, length) == 0;
}

/** Bits per pixel from a PNG's header chunk: its depth times the channels of its colour type. */
int pngDepth (const juce::uint8* bytes, size_t size)
{
    // Signature, chunk length and "IHDR", width, height, then bit depth and colour type.
    if (size < 26 || std::memcmp (bytes + 12, "IHDR", 4) != 0)
        return 0;

    const int bitDepth = bytes[24];
    switch (bytes[25])
    {
        case 0:
            return bitDepth; // grey
        case 2:
            return bitDepth * 3; // RGB
        case 3:
            return bitDepth; // palette
        case 4:
            return bitDepth * 2; // grey and alpha
        case 6:
            return bitDepth * 4; // RGBA
        default:
            return 0;
    }
}

/** Bits per pixel from a JPEG's frame header: its precision times its components. */
int jpegDepth (const juce::uint8* bytes, size_t size)
{
    size_t at = 2;
    while (at + 4 <= size)
    {
        if (bytes[at] != 0xff)
            return 0;

        const auto marker = bytes[at + 1];
        if (marker == 0xff)
        {
            ++at; // fill byte
            continue;
        }

        const size_t length = ((size_t) bytes[at + 2] << 8) | bytes[at + 3];
        const bool frameHeader = marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (frameHeader)
            return at + 9 < size ? bytes[at + 4] * bytes[at + 9] : 0;

        // The picture's data starts before any frame header was found.
        if (marker == 0xda || length < 2)
            return 0;

        at += 2 + length;
    }
    return 0;
}
} // namespace

CoverEmbedder::CoverEmbedder (const juce::File& cover)
    : chosen (cover != juce::File())
{
    if (! chosen || ! cover.existsAsFile() || cover.getSize() > largestPicture)
        return;

    if (! cover.loadFileAsData (picture.bytes) || (juce::int64) picture.bytes.getSize() > largestPicture)
        return;

    const auto* data = picture.bytes.getData();
    const auto size = picture.bytes.getSize();
    picture.mimeType = mimeTypeOf (data, size);
    if (picture.mimeType.isEmpty())
        return;

    // A picture is what decodes as one; its size goes into the tag beside it.
    const auto image = PictureDecoder::decode (data, size);
    if (! image.isValid())
        return;

    picture.width = image.getWidth();
    picture.height = image.getHeight();
    picture.colourDepth = colourDepthOf (data, size);
    usable = true;
}

void CoverEmbedder::embedInto (FinishedFileTags& tags) const
{
    if (usable)
        tags.setFrontCover (picture);
}

juce::String CoverEmbedder::mimeTypeOf (const void* data, size_t size)
{
    if (startsWith (data, size, jpegSignature, sizeof (jpegSignature)))
        return "image/jpeg";
    if (startsWith (data, size, pngSignature, sizeof (pngSignature)))
        return "image/png";
    return {};
}

int CoverEmbedder::colourDepthOf (const void* data, size_t size)
{
    const auto* bytes = static_cast<const juce::uint8*> (data);
    if (startsWith (data, size, pngSignature, sizeof (pngSignature)))
        return pngDepth (bytes, size);
    if (startsWith (data, size, jpegSignature, sizeof (jpegSignature)))
        return jpegDepth (bytes, size);
    return 0;
}
