#pragma once

// The corpus of malformed files that script/make-corpus writes, made at test time in the
// running test's home, and what the tests check of every path fed with it.
#include "support/TestHelpers.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace MalformedCorpus
{
/** One file (or a folder standing where a file should be) of the corpus. */
struct Entry
{
    juce::File file;
    juce::String kind;  // its extension: wav, aiff, flac, ogg, settings, lang, gsp, written, png, jpg
    juce::int64 frames; // the most sample frames of audio it really holds
};

/** Makes the corpus of the given kinds (see script/make-corpus) and lists its entries. */
inline std::vector<Entry> make (const juce::StringArray& kinds)
{
    const auto folder = freshFolder ("corpus");
    juce::StringArray command{ "python3", juce::String (GROOVESMITH_SOURCE_DIR) + "/script/make-corpus",
                               folder.getFullPathName() };
    command.addArray (kinds);

    juce::ChildProcess maker;
    if (! maker.start (command, juce::ChildProcess::wantStdOut | juce::ChildProcess::wantStdErr))
        return {};

    maker.readAllProcessOutput();
    maker.waitForProcessToFinish (120000);

    std::vector<Entry> entries;
    juce::StringArray lines;
    lines.addLines (folder.getChildFile ("manifest.tsv").loadFileAsString());

    for (const auto& line : lines)
    {
        juce::StringArray fields;
        fields.addTokens (line, "\t", {});
        if (fields.size() == 3)
            entries.push_back ({ folder.getChildFile (fields[0]), fields[1], fields[2].getLargeIntValue() });
    }

    return entries;
}

/** The entries of these kinds. */
inline std::vector<Entry> only (const std::vector<Entry>& entries, const juce::StringArray& kinds)
{
    std::vector<Entry> chosen;
    for (const auto& entry : entries)
        if (kinds.contains (entry.kind))
            chosen.push_back (entry);
    return chosen;
}

/** A fingerprint of a file's bytes, or of a folder's name, to see that nothing changed it. */
inline juce::String fingerprint (const juce::File& file)
{
    if (file.isDirectory())
        return "folder";

    juce::MemoryBlock bytes;
    if (! file.loadFileAsData (bytes))
        return "unreadable";

    juce::uint64 hash = 14695981039346656037ull; // FNV-1a
    for (size_t i = 0; i < bytes.getSize(); ++i)
        hash = (hash ^ (juce::uint8) bytes[i]) * 1099511628211ull;

    return juce::String::toHexString ((juce::int64) hash) + ":" + juce::String ((juce::int64) bytes.getSize());
}

/** The entry's name, for the failure messages. */
inline std::string nameOf (const Entry& entry)
{
    return entry.file.getFileName().toStdString();
}

/** Checks, when it goes, that the entry's file is as it was when it came: the paths that read a
    user's file never change it. */
class LeftAsFound
{
public:
    explicit LeftAsFound (const Entry& e)
        : entry (e),
          before (fingerprint (e.file))
    {
    }
    ~LeftAsFound() { EXPECT_EQ (fingerprint (entry.file), before) << nameOf (entry); }

private:
    const Entry& entry;
    const juce::String before;
};

/** The frames of a WAV file we wrote, as an independent reading of its header sees them; -1
    when there is no such file. */
inline juce::int64 wavFrames (const juce::File& file)
{
    if (! file.existsAsFile())
        return -1;

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (file.createInputStream().release(), true));
    return reader != nullptr ? reader->lengthInSamples : -1;
}

/** The frames any reader of the basic formats sees in a file we wrote; -1 when none reads it. */
inline juce::int64 framesOf (const juce::File& file)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    std::unique_ptr<juce::AudioFormatReader> reader (formats.createReaderFor (file));
    return reader != nullptr ? reader->lengthInSamples : -1;
}
} // namespace MalformedCorpus
