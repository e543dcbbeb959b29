#include "project/SettingsFileGuard.h"

#include "project/SafeText.h"

#include <cstring>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace SettingsFileGuard
{
Shape scan (const char* text, size_t size)
{
    Shape shape;
    int depth = 0;
    size_t i = 0;

    // The names seen so far, as views into the text.
    std::unordered_set<std::string_view> names;

    const auto skipPast = [&] (const char* end)
    {
        const auto length = std::strlen (end);
        while (i + length <= size && std::memcmp (text + i, end, length) != 0)
            ++i;
        i += length;
    };

    const auto isSpace = [] (char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };

    // A name runs to a blank, an equals sign, a slash, a bracket or a quote.
    const auto readName = [&]
    {
        const auto start = i;
        while (i < size && ! isSpace (text[i]) && text[i] != '=' && text[i] != '/' && text[i] != '>' &&
               text[i] != '"' && text[i] != '\'')
            ++i;
        return std::string_view (text + start, i - start);
    };

    const auto noteName = [&] (std::string_view name)
    {
        if (! name.empty() && names.insert (name).second)
            ++shape.names;
    };

    while (i < size && shape.depth <= maxDepth && shape.names <= maxNames)
    {
        if (text[i] != '<')
        {
            ++i;
            continue;
        }

        if (i + 4 <= size && std::memcmp (text + i, "<!--", 4) == 0)
        {
            skipPast ("-->");
            continue;
        }

        if (i + 9 <= size && std::memcmp (text + i, "<![CDATA[", 9) == 0)
        {
            skipPast ("]]>");
            continue;
        }

        if (i + 1 < size && (text[i + 1] == '?' || text[i + 1] == '!'))
        {
            skipPast (">");
            continue;
        }

        const bool closing = i + 1 < size && text[i + 1] == '/';
        i += closing ? 2 : 1;

        const auto tagName = readName();
        if (! closing)
            noteName (tagName);

        // To the end of the tag: its attributes, each a name and a quoted value.
        int attributes = 0;
        bool selfClosing = false;

        while (i < size)
        {
            const char c = text[i];

            if (c == '>')
            {
                ++i;
                break;
            }

            if (isSpace (c) || c == '=')
            {
                ++i;
                continue;
            }

            if (c == '/')
            {
                selfClosing = true;
                ++i;
                continue;
            }

            selfClosing = false;

            if (c == '"' || c == '\'')
            {
                ++i;
                while (i < size && text[i] != c)
                    ++i;
                ++i;
                continue;
            }

            const auto name = readName();
            ++attributes;
            if (! closing)
                noteName (name);

            if (shape.names > maxNames)
                break;
        }

        shape.attributes = juce::jmax (shape.attributes, attributes);

        if (closing)
        {
            depth = juce::jmax (0, depth - 1);
        }
        else
        {
            ++shape.elements;
            if (! selfClosing)
                shape.depth = juce::jmax (shape.depth, ++depth);
            else
                shape.depth = juce::jmax (shape.depth, depth + 1);
        }
    }

    return shape;
}

namespace
{
/** The keys the program reads; no other value of an overlong file is worth keeping. */
const char* const programKeys[] = { "preamp",     "rootdir",      "deviceid",      "outputformat",  "lame",
                                    "lang",       "threshold",    "silencelength", "minsilence",    "devicesettings",
                                    "lame_vbr",   "lame_quality", "keep_waves",    "add_track_num", "embed_cover",
                                    "replaygain", "playlist" };

bool isProgramKey (const juce::String& lowerCaseName)
{
    for (const auto* key : programKeys)
        if (lowerCaseName == key)
            return true;

    return false;
}

/** The program's values of a flat document, the last of each name, in the order they first
    came. */
std::unique_ptr<juce::XmlElement> flatValues (const juce::String& text)
{
    auto result = std::make_unique<juce::XmlElement> ("PROPERTIES");
    auto document = juce::parseXMLIfTagMatches (text, "PROPERTIES");

    if (document == nullptr)
        return result;

    std::unordered_map<juce::String, juce::XmlElement*> byName;

    for (auto* value : document->getChildWithTagNameIterator ("VALUE"))
    {
        const auto name = value->getStringAttribute ("name");
        if (name.isEmpty())
            continue;

        const auto key = name.toLowerCase();
        if (! isProgramKey (key))
            continue;

        auto found = byName.find (key);
        auto* kept = found != byName.end() ? found->second : result->createNewChildElement ("VALUE");
        byName[key] = kept;

        kept->deleteAllChildElements();
        kept->removeAllAttributes();
        kept->setAttribute ("name", name);
        kept->setAttribute ("val", value->getStringAttribute ("val"));

        if (auto* inner = value->getFirstChildElement())
            kept->addChildElement (new juce::XmlElement (*inner));
    }

    return result;
}
} // namespace

juce::File makeSafe (const juce::File& file)
{
    if (! file.existsAsFile())
        return file;

    const auto size = file.getSize();
    std::unique_ptr<juce::XmlElement> replacement;

    if (size > maxBytes)
    {
        replacement = std::make_unique<juce::XmlElement> ("PROPERTIES");
    }
    else
    {
        juce::MemoryBlock content;
        if (! file.loadFileAsData (content))
            return file; // unreadable: the PropertiesFile finds nothing in it either

        const auto* text = static_cast<const char*> (content.getData());
        const auto shape = scan (text, content.getSize());
        const bool validText = juce::CharPointer_UTF8::isValidString (text, (int) content.getSize());

        if (shape.depth <= maxDepth && shape.elements <= maxElements && shape.attributes <= maxAttributes &&
            shape.names <= maxNames && validText)
            return file;

        // Too deep is no settings file at all, and too many names can't be parsed in good time;
        // too long or broken text is read once, checked.
        const bool untrusted = shape.depth > maxDepth || shape.names > maxNames;
        replacement = untrusted ? std::make_unique<juce::XmlElement> ("PROPERTIES")
                                : flatValues (SafeText::fromBytes (content.getData(), content.getSize()));
    }

    if (replacement->writeTo (file))
        return file;

    const auto elsewhere = juce::File::getSpecialLocation (juce::File::tempDirectory).getChildFile ("Groovesmith");
    elsewhere.createDirectory();
    return elsewhere.getNonexistentChildFile ("settings", ".settings");
}
} // namespace SettingsFileGuard
