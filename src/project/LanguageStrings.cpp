#include "project/LanguageStrings.h"

#include "project/SafeText.h"

namespace
{
/** The index of the quote that closes a quoted text starting at `start`; a backslash escapes it.
    The line's length when there is none: a line cut short is searched no further than its end. */
int findCloseQuote (const juce::String& text, int start)
{
    const auto length = text.length();
    if (start >= length)
        return length;

    juce::juce_wchar last = 0;
    auto t = text.getCharPointer() + start;

    for (;;)
    {
        const auto c = t.getAndAdvance();

        if (c == 0 || (c == '"' && last != '\\'))
            break;

        last = c;
        ++start;
    }

    return start;
}

juce::String unescaped (const juce::String& s)
{
    return s.replace ("\\\"", "\"")
        .replace ("\\\'", "\'")
        .replace ("\\t", "\t")
        .replace ("\\r", "\r")
        .replace ("\\n", "\n");
}
} // namespace

LanguageStrings::LanguageStrings (const juce::String& fileContents, bool ignoreCase)
    : ignoresCase (ignoreCase)
{
    load (fileContents);
}

LanguageStrings::LanguageStrings (const juce::File& file, bool ignoreCase)
    : ignoresCase (ignoreCase)
{
    load (SafeText::fromFile (file));
}

juce::String LanguageStrings::keyFor (const juce::String& text) const
{
    return ignoresCase ? text.toLowerCase() : text;
}

void LanguageStrings::load (const juce::String& fileContents)
{
    juce::StringArray lines;
    lines.addLines (fileContents);

    for (auto& l : lines)
    {
        const auto line = l.trim();

        if (line.startsWithChar ('"'))
        {
            auto closeQuote = findCloseQuote (line, 1);
            const auto original = unescaped (line.substring (1, closeQuote));

            if (original.isNotEmpty())
            {
                const auto openingQuote = findCloseQuote (line, closeQuote + 1);
                closeQuote = findCloseQuote (line, openingQuote + 1);
                const auto translated = unescaped (line.substring (openingQuote + 1, closeQuote));

                // A later line for the same text replaces an earlier one.
                if (translated.isNotEmpty())
                    translations[keyFor (original)] = translated;
            }
        }
        else if (line.startsWithIgnoreCase ("language:"))
        {
            languageName = line.substring (9).trim();
        }
        else if (line.startsWithIgnoreCase ("countries:"))
        {
            countryCodes.addTokens (line.substring (10).trim(), true);
            countryCodes.trim();
            countryCodes.removeEmptyStrings();
        }
    }
}

juce::String LanguageStrings::translate (const juce::String& text) const
{
    const auto found = translations.find (keyFor (text));
    return found != translations.end() ? found->second : text;
}
