#pragma once

#include <juce_core/juce_core.h>

#include <unordered_map>

/**
    The translations of a language file, in the format of juce::LocalisedStrings (lines of
    "english" = "translated", with "language:" and "countries:" lines), read the same way but
    kept in a hash table: a file of hundreds of thousands of pairs loads in one pass and each
    text is found at once.
*/
class LanguageStrings
{
public:
    LanguageStrings (const juce::String& fileContents, bool ignoreCase);
    LanguageStrings (const juce::File& file, bool ignoreCase);

    /** The translation of `text`, or `text` itself when the file has none. */
    juce::String translate (const juce::String& text) const;

    juce::String getLanguageName() const { return languageName; }
    int size() const { return (int) translations.size(); }

private:
    void load (const juce::String& fileContents);
    juce::String keyFor (const juce::String& text) const;

    bool ignoresCase;
    juce::String languageName;
    juce::StringArray countryCodes;
    std::unordered_map<juce::String, juce::String> translations;
};
