#include "encoding/ThumbnailComponent.h"

#include <cstring>
#include <zlib.h>

namespace
{
// Centred both ways, shrunk to fit when too big, never enlarged.
const juce::RectanglePlacement thumbnailPlacement (juce::RectanglePlacement::xMid | juce::RectanglePlacement::yMid |
                                                   juce::RectanglePlacement::onlyReduceInSize);

constexpr int loadDelayMilliseconds = 100;

/** Covers larger than this many pixels a side are no album's: they are not decoded. */
constexpr juce::uint32 largestSide = 16384;

/** A PNG whose header the PNG library would refuse makes it abort in a way that ends the
    program; such a header is checked here first. True for anything that is no PNG. */
bool pngHeaderIsSound (juce::InputStream& stream)
{
    const auto start = stream.getPosition();
    juce::uint8 header[33] = {};
    const auto got = stream.read (header, sizeof (header));
    stream.setPosition (start);

    static const juce::uint8 signature[] = { 0x89, 'P', 'N', 'G', 0x0d, 0x0a, 0x1a, 0x0a };
    if (got < 8 || std::memcmp (header, signature, 8) != 0)
        return true;

    if (got < 33 || std::memcmp (header + 12, "IHDR", 4) != 0 || juce::ByteOrder::bigEndianInt (header + 8) != 13)
        return false;

    const auto width = (juce::uint32) juce::ByteOrder::bigEndianInt (header + 16);
    const auto height = (juce::uint32) juce::ByteOrder::bigEndianInt (header + 20);
    const auto depth = header[24];
    const auto colour = header[25];
    const bool depthFits = (colour == 0 && (depth == 1 || depth == 2 || depth == 4 || depth == 8 || depth == 16)) ||
                           (colour == 3 && (depth == 1 || depth == 2 || depth == 4 || depth == 8)) ||
                           ((colour == 2 || colour == 4 || colour == 6) && (depth == 8 || depth == 16));
    const auto crc = juce::ByteOrder::bigEndianInt (header + 29);

    return width >= 1 && width <= largestSide && height >= 1 && height <= largestSide && depthFits && header[26] == 0 &&
           header[27] == 0 && header[28] <= 1 && (juce::uint32) crc == (juce::uint32) crc32 (0, header + 12, 17);
}
} // namespace

ThumbnailComponent::ThumbnailComponent() = default;

ThumbnailComponent::~ThumbnailComponent()
{
    stopTimer();
}

void ThumbnailComponent::selectedFileChanged (const juce::File& newFile)
{
    if (newFile == file)
        return;

    file = newFile;
    startTimer (loadDelayMilliseconds);
}

void ThumbnailComponent::timerCallback()
{
    stopTimer();
    thumbnail.reset();
    repaint();

    std::unique_ptr<juce::InputStream> stream (file.createInputStream());
    if (stream == nullptr)
        return;

    if (! pngHeaderIsSound (*stream))
        return;

    if (auto* format = juce::ImageFileFormat::findImageFormatForStream (*stream))
    {
        const auto image = format->decodeImage (*stream);
        if (image.isValid())
            thumbnail = std::make_unique<juce::Image> (image.createCopy());
    }
}

void ThumbnailComponent::paint (juce::Graphics& g)
{
    if (thumbnail == nullptr)
        return;

    g.setFont (13.0f);
    g.drawImageWithin (*thumbnail, 0, 0, getWidth(), getHeight(), thumbnailPlacement);
}
