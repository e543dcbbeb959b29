#pragma once

#include "support/TestHelpers.h"

#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_gui_basics/juce_gui_basics.h>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

/**
    What the convertor tests share: sound files they make themselves, the program's own reader,
    and the independent tools (sox, flac, ogginfo, mpg123) that look at what the program wrote the way
    a user's player would.
*/
namespace audiofiles
{
/** Samples at their own bit depth, one vector per channel. */
using Channels = std::vector<std::vector<int>>;

/** A reproducible signal: a tone of its own per channel under a little noise, at `bits` bits. */
Channels makeSignal (int channels, int length, int bits, juce::uint32 seed = 1);

/** The same samples at fewer bits, cut as a writer cuts them (an arithmetic shift). */
Channels reducedTo (const Channels& samples, int fromBits, int toBits);

/** A new, empty folder below the running test's home (TestHelpers.h). */
using ::freshFolder;

/** Writes samples of `bits` bits with JUCE's writer for the file's extension. */
void writeAudio (const juce::File& file, double rate, int bits, const Channels& samples);

/** The program's own reader's view of a file, with the samples brought to `bits` bits. */
struct Decoded
{
    bool opened = false;
    double rate = 0.0;
    int channels = 0;
    int bits = 0;
    juce::int64 length = -1;
    Channels samples;
};
Decoded readAudio (const juce::File& file, int bits = 16);

/** Empty when equal; otherwise where and how the two differ. */
std::string difference (const Channels& expected, const Channels& actual, int tolerance = 0);

//==============================================================================
struct ToolRun
{
    int exitCode = -1;
    juce::String output;
};

/** Runs a program and waits for it; its standard output and error come back together. */
ToolRun runTool (const juce::StringArray& arguments);

/** True when the program is found on the PATH. */
bool toolInstalled (const juce::String& name);

/** What soxi says of a file. */
struct SoxInfo
{
    int rate = 0;
    int channels = 0;
    int bits = 0;
    juce::int64 samples = -1;
    juce::String encoding;
};
SoxInfo soxInfo (const juce::File& file);

/** 16-bit samples as sox decodes them, without dither. */
Channels decodeWithSox (const juce::File& file, int channels);

/** 16-bit samples as the flac tool decodes them. */
Channels decodeWithFlac (const juce::File& file, int channels);

/** 16-bit samples as mpg123 decodes an MP3 file: every frame, nothing trimmed. */
Channels decodeWithMpg123 (const juce::File& file, int channels);

/** What ogginfo says of a file. */
struct OggInfo
{
    int exitCode = -1;
    int rate = 0;
    int channels = 0;
    double nominalKbps = 0.0;
    juce::String output;
};
OggInfo oggInfo (const juce::File& file);

/** The tags of a file as mutagen reads them: lower-case field names, each with its values
    (as text); an object with the key "error" when mutagen could not read the file. */
juce::var mutagenTags (const juce::File& file);

/** The one value of a field that mutagen read, or "(absent)". */
juce::String mutagenField (const juce::var& tags, const juce::String& field);

/** The Python that has mutagen (Debian's), for tests that read tags. */
juce::String pythonWithMutagen();

/** The tags of a file as TagLib reads them; `opened` is false without a tag. */
struct TagLibTags
{
    bool opened = false;
    juce::String title, album, artist, genre;
    unsigned int year = 0, track = 0;
};
TagLibTags tagLibTags (const juce::File& file);

/** A folder in which no file can be made, even by an administrator. */
juce::File unwritableFolder();

//==============================================================================
/**
    Watches a destination file from a thread of its own and acts once the file holds part of
    the output, which happens while the first chunk is written: the worker is then between
    two chunks of a long file.
*/
class ActWhenWritten : public juce::Thread
{
public:
    ActWhenWritten (const juce::File& destination, std::function<void()> action);
    ~ActWhenWritten() override;

    void run() override;

    bool acted() const { return hasActed.load(); }

private:
    juce::File destination;
    std::function<void()> action;
    std::atomic<bool> hasActed{ false };
};

/** Presses the Cancel button of the progress window that is up, as a user would. */
void pressCancelOfModalWindow();
} // namespace audiofiles

/** Fails the test at once, and says what to install, when a checking tool is missing. */
#define REQUIRE_TOOL(name, package)                                                                                    \
    ASSERT_TRUE (audiofiles::toolInstalled (name))                                                                     \
        << "the checking tool '" << name << "' is missing: install the Debian package " << package                     \
        << " (script/setup installs it)"
