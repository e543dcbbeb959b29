#pragma once

#include "encoding/FinishedFileTags.h"

/**
    The album's front cover as it goes inside each finished file: the user's picture read once,
    its bytes unchanged, its MIME type taken from what the bytes are (JPEG or PNG), whatever the
    file is called. A file that is no such picture, or one larger than players take, is not
    embedded; the copy beside the tracks is made all the same, elsewhere.
*/
class CoverEmbedder
{
public:
    /** Reads and checks `cover`; a default File is no cover. */
    explicit CoverEmbedder (const juce::File& cover);

    /** Pictures larger than this many bytes (16 MB) stay out of the files: a FLAC picture block
        cannot hold much more. */
    static constexpr juce::int64 largestPicture = 16 * 1000 * 1000;

    /** True when a cover was chosen. */
    bool wasChosen() const { return chosen; }

    /** True when the cover can go inside the files. */
    bool canEmbed() const { return usable; }

    /** Puts the cover into the file's tags as its front cover. */
    void embedInto (FinishedFileTags& tags) const;

    const FinishedFileTags::Picture& getPicture() const { return picture; }

    /** "image/jpeg" or "image/png" by the bytes' signature; "" for anything else. */
    static juce::String mimeTypeOf (const void* data, size_t size);

    /** Bits per pixel as the picture's header tells them, 0 when it does not say. */
    static int colourDepthOf (const void* data, size_t size);

private:
    bool chosen = false;
    bool usable = false;
    FinishedFileTags::Picture picture;
};
