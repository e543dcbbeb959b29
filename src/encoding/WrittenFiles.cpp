#include "encoding/WrittenFiles.h"

#include "project/Project.h"
#include "project/SafeText.h"

namespace
{
const char* const firstLine = "Groovesmith written files 1";

/** No path is longer than this many bytes; a line that holds longer ones is no entry. */
constexpr int longestPath = 4096;

/** A path on one line of its own, tabs and line ends written out. */
juce::String escaped (const juce::String& text)
{
    return text.replace ("\\", "\\\\").replace ("\t", "\\t").replace ("\n", "\\n").replace ("\r", "\\r");
}

juce::String unescaped (const juce::String& text)
{
    if (! text.containsChar ('\\'))
        return text;

    juce::MemoryOutputStream result;

    for (auto p = text.getCharPointer(); ! p.isEmpty();)
    {
        auto c = p.getAndAdvance();
        if (c == '\\' && ! p.isEmpty())
        {
            const auto next = p.getAndAdvance();
            c = next == 't' ? '\t' : next == 'n' ? '\n' : next == 'r' ? '\r' : next;
        }
        result.appendUTF8Char (c);
    }

    return result.toUTF8();
}

bool isNumber (const juce::String& text)
{
    return text.isNotEmpty() && text.length() <= 20 && text.trimCharactersAtStart ("-").containsOnly ("0123456789");
}
} // namespace

WrittenFiles::WrittenFiles()
    : WrittenFiles (defaultLocation())
{
}

WrittenFiles::WrittenFiles (const juce::File& file)
    : recordFile (file)
{
    load();
}

juce::File WrittenFiles::defaultLocation()
{
    return Project::settingsFileLocation().getSiblingFile ("Groovesmith.written");
}

WrittenFiles::Stamp WrittenFiles::stampOf (const juce::File& file)
{
    if (! file.existsAsFile())
        return {};

    return { file.getSize(), file.getLastModificationTime().toMilliseconds() };
}

const WrittenFiles::Entry* WrittenFiles::find (const juce::String& path) const
{
    for (auto it = entries.rbegin(); it != entries.rend(); ++it)
        if (it->path == path)
            return &*it;

    return nullptr;
}

WrittenFiles::Origin WrittenFiles::originOf (const juce::File& source) const
{
    const auto path = source.getFullPathName();
    const auto stamp = stampOf (source);

    if (const auto* entry = find (path); entry != nullptr && stamp.size >= 0 && entry->stamp == stamp)
        return entry->origin;

    return { path, stamp };
}

bool WrittenFiles::isOurs (const juce::File& file, const Origin& origin) const
{
    const auto stamp = stampOf (file);
    if (stamp.size < 0 || origin.stamp.size < 0)
        return false;

    const auto* entry = find (file.getFullPathName());
    return entry != nullptr && entry->stamp == stamp && entry->origin == origin;
}

void WrittenFiles::remember (const juce::File& file, const Origin& origin)
{
    const auto path = file.getFullPathName();
    entries.erase (std::remove_if (entries.begin(), entries.end(), [&path] (const Entry& e) { return e.path == path; }),
                   entries.end());

    const auto stamp = stampOf (file);
    if (stamp.size < 0 || origin.stamp.size < 0)
        return;

    entries.push_back ({ path, stamp, origin });

    if (entries.size() > (size_t) maxEntries)
        entries.erase (entries.begin(), entries.begin() + (std::ptrdiff_t) (entries.size() - (size_t) maxEntries));
}

bool WrittenFiles::save() const
{
    juce::MemoryOutputStream text;
    text << firstLine << "\n";

    for (const auto& entry : entries)
        text << escaped (entry.path) << "\t" << entry.stamp.size << "\t" << entry.stamp.modified << "\t"
             << escaped (entry.origin.path) << "\t" << entry.origin.stamp.size << "\t" << entry.origin.stamp.modified
             << "\n";

    recordFile.getParentDirectory().createDirectory();
    juce::TemporaryFile temporary (recordFile);
    return temporary.getFile().replaceWithData (text.getData(), text.getDataSize()) &&
           temporary.overwriteTargetFileWithTemporary();
}

void WrittenFiles::load()
{
    entries.clear();

    if (! recordFile.existsAsFile() || recordFile.getSize() > largestRecord)
        return;

    juce::MemoryBlock data;
    if (! recordFile.loadFileAsData (data))
        return;

    juce::StringArray lines;
    lines.addLines (SafeText::fromBytes (data.getData(), data.getSize()));

    if (lines.isEmpty() || lines[0] != firstLine)
        return;

    for (int i = 1; i < lines.size(); ++i)
    {
        if (lines[i].getNumBytesAsUTF8() > (size_t) (4 * longestPath))
            continue;

        juce::StringArray fields;
        fields.addTokens (lines[i], "\t", {});

        if (fields.size() != 6 || fields[0].isEmpty() || fields[3].isEmpty() ||
            fields[0].getNumBytesAsUTF8() > (size_t) longestPath ||
            fields[3].getNumBytesAsUTF8() > (size_t) longestPath || ! isNumber (fields[1]) || ! isNumber (fields[2]) ||
            ! isNumber (fields[4]) || ! isNumber (fields[5]))
            continue;

        Entry entry{ unescaped (fields[0]),
                     { fields[1].getLargeIntValue(), fields[2].getLargeIntValue() },
                     { unescaped (fields[3]), { fields[4].getLargeIntValue(), fields[5].getLargeIntValue() } } };

        if (entry.stamp.size < 0 || entry.origin.stamp.size < 0)
            continue;

        entries.push_back (std::move (entry));
    }

    if (entries.size() > (size_t) maxEntries)
        entries.erase (entries.begin(), entries.begin() + (std::ptrdiff_t) (entries.size() - (size_t) maxEntries));
}
