#pragma once

#include <juce_core/juce_core.h>

/**
    Looks at the settings file before juce::PropertiesFile loads it. The program writes a flat
    document of a few dozen values; a file nested thousands of levels deep would overflow the
    stack of the XML parser, and one of hundreds of thousands of values would take minutes to
    load, one linear search per value. The parser also keeps every different name of an element
    or an attribute in one sorted pool, which grows by an insertion per new name: a file of
    hundreds of thousands of names would take minutes as well. Such a file is rewritten with
    what can be read of it: the last value of each of the program's keys, or nothing when its
    structure can't be trusted or it can't be parsed in good time; so is one whose text is no
    valid UTF-8, which the parser would read past its end. A plain file is left alone.
*/
namespace SettingsFileGuard
{
/** Deepest nesting, most elements, most attributes on one element and most different names of
    elements and attributes a settings file may have before it is rewritten. */
constexpr int maxDepth = 32;
constexpr int maxElements = 10000;
constexpr int maxAttributes = 64;
constexpr int maxNames = 1000;
constexpr juce::int64 maxBytes = 16 * 1024 * 1024;

/** What the scan found. */
struct Shape
{
    int depth = 0;
    int elements = 0;
    int attributes = 0; // on the element that has the most
    int names = 0;      // different names of elements and attributes
};

/** The nesting, the count of elements, the most attributes of one element and the count of
    different names of an XML text, read in one pass without recursion; the scan stops once the
    depth or the names pass their limits, after which the parser could not be trusted with it. */
Shape scan (const char* text, size_t size);

/** Makes `file` safe to load and answers the file to hand to the PropertiesFile: itself, or,
    when it can neither be read safely nor rewritten, a fresh one in the temporary folder so
    that the program starts on the defaults all the same. */
juce::File makeSafe (const juce::File& file);
} // namespace SettingsFileGuard
