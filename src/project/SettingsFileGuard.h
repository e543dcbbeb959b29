#pragma once

#include <juce_core/juce_core.h>

/**
    Looks at the settings file before juce::PropertiesFile loads it. The program writes a flat
    document of a few dozen values; a file nested thousands of levels deep would overflow the
    stack of the XML parser, and one of hundreds of thousands of values would take minutes to
    load, one linear search per value. Such a file is rewritten with what can be read of it:
    the last value of each of the program's keys, or nothing when its structure can't be
    trusted; so is one whose text is no valid UTF-8, which the parser would read past its end.
    A plain file is left alone.
*/
namespace SettingsFileGuard
{
/** Deepest nesting and most elements a settings file may have before it is rewritten. */
constexpr int maxDepth = 32;
constexpr int maxElements = 10000;
constexpr juce::int64 maxBytes = 16 * 1024 * 1024;

/** What the scan found. */
struct Shape
{
    int depth = 0;
    int elements = 0;
};

/** The nesting and the count of elements of an XML text, read in one pass without recursion;
    the scan stops once either passes its limit. */
Shape scan (const char* text, size_t size);

/** Makes `file` safe to load and answers the file to hand to the PropertiesFile: itself, or,
    when it can neither be read safely nor rewritten, a fresh one in the temporary folder so
    that the program starts on the defaults all the same. */
juce::File makeSafe (const juce::File& file);
} // namespace SettingsFileGuard
