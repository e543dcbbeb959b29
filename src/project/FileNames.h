#pragma once

#include <juce_core/juce_core.h>

#include <vector>

/**
    Names of files and folders that the program makes from the user's texts: the album folder
    and the finished tracks. They are made legal as juce::File::createLegalFileName makes them,
    and cut to what the file system takes, which counts bytes, not letters: a name of 255
    letters of a script of three bytes each is three times too long for most file systems, and
    one of 200 plain letters is no trouble at all.
*/
namespace FileNames
{
/** The most bytes a name may have where the file system does not say (or says more). */
constexpr int longestAnywhere = 255;

/** The text without the characters that no file name of the program may hold: the double
    quote, hash, at sign, comma, semicolon, colon, angle brackets, asterisk, caret, vertical
    bar, question mark, backslash and slash. It is not cut: see `shared` and `fitted`. */
juce::String legal (const juce::String& text);

/** The most bytes of a name that the file system of `folder` takes (of its nearest existing
    parent while it does not exist), and never more than `longestAnywhere`. */
int longestName (const juce::File& folder);

/** The UTF-8 bytes of the text. */
int bytesOf (const juce::String& text);

/** The text cut to at most `maxBytes` bytes of UTF-8, after a whole character. */
juce::String cutToBytes (const juce::String& text, int maxBytes);

/** Parts of one name cut so that together they take at most `maxBytes` bytes: while they fit
    each stays whole; otherwise the room is shared out, so that a long part (an artist's name)
    cannot take all of it from a shorter one (the title): the parts shorter than an equal
    share stay whole, and the others are cut to equal shares of what is left. */
std::vector<juce::String> shared (std::vector<juce::String> parts, int maxBytes);

/** The file with its name cut to what the file system of its folder takes, on a whole
    character, the extension kept. A name that fits is left as it is. */
juce::File fitted (const juce::File& file);
} // namespace FileNames
