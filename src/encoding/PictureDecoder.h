#pragma once

#include <juce_graphics/juce_graphics.h>

/**
    Decodes a user's picture (a cover) into an image: PNG through libpng's simplified reader,
    JPEG through libjpeg with an error handler that leaves the decoder cleanly; covers are only
    ever these two. A file that is no picture, a broken one, or one too large for a cover gives
    an invalid image and nothing else: no error can end the program.
*/
namespace PictureDecoder
{
/** Pictures wider or higher than this are no album's cover: they are not decoded. */
constexpr int largestSide = 16384;

/** Nor are pictures of more pixels than this (an 8000 by 6000 photo still fits). */
constexpr juce::int64 mostPixels = 50 * 1000 * 1000;

/** Nor files larger than this many bytes. */
constexpr juce::int64 largestFile = 128 * 1024 * 1024;

/** Decodes the picture held in these bytes. */
juce::Image decode (const void* data, size_t size);

/** Reads the stream from its current position to its end and decodes what it holds. */
juce::Image decode (juce::InputStream& stream);
} // namespace PictureDecoder
