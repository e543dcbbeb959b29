#include "encoding/AudioFiles.h"

#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <cmath>
#include <sstream>
#include <sys/stat.h>

namespace audiofiles
{
Channels makeSignal (int channels, int length, int bits, juce::uint32 seed)
{
    juce::Random random ((juce::int64) seed);
    const double full = std::ldexp (1.0, bits - 1);
    const double amplitude = full * 0.45;
    const int noise = 1 << (bits - 8);

    Channels samples ((size_t) channels, std::vector<int> ((size_t) length));
    for (int c = 0; c < channels; ++c)
    {
        const double step = 2.0 * juce::MathConstants<double>::pi * (220.0 * (c + 1) + 37.0 * seed) / 44100.0;
        for (int i = 0; i < length; ++i)
            samples[(size_t) c][(size_t) i] =
                (int) std::lround (amplitude * std::sin (step * i)) + random.nextInt (noise) - noise / 2;
    }
    return samples;
}

Channels reducedTo (const Channels& samples, int fromBits, int toBits)
{
    auto reduced = samples;
    for (auto& channel : reduced)
        for (auto& value : channel)
            value = (int) std::floor (std::ldexp ((double) value, toBits - fromBits));
    return reduced;
}

namespace
{
std::unique_ptr<juce::AudioFormat> formatFor (const juce::File& file)
{
    const auto extension = file.getFileExtension().toLowerCase();
    if (extension == ".wav")
        return std::make_unique<juce::WavAudioFormat>();
    if (extension == ".aif" || extension == ".aiff")
        return std::make_unique<juce::AiffAudioFormat>();
    if (extension == ".flac")
        return std::make_unique<juce::FlacAudioFormat>();
    if (extension == ".ogg")
        return std::make_unique<juce::OggVorbisAudioFormat>();
    return {};
}

Channels readRaw16 (const juce::File& raw, int channels)
{
    juce::MemoryBlock data;
    raw.loadFileAsData (data);
    const auto* bytes = static_cast<const char*> (data.getData());
    const auto frames = data.getSize() / 2 / (size_t) channels;

    Channels samples ((size_t) channels, std::vector<int> (frames));
    for (size_t i = 0; i < frames; ++i)
        for (size_t c = 0; c < (size_t) channels; ++c)
            samples[c][i] = (juce::int16) juce::ByteOrder::littleEndianShort (bytes + 2 * (i * (size_t) channels + c));
    return samples;
}
} // namespace

void writeAudio (const juce::File& file, double rate, int bits, const Channels& samples)
{
    auto format = formatFor (file);
    ASSERT_NE (format, nullptr) << file.getFullPathName();
    file.deleteFile();

    auto stream = file.createOutputStream();
    ASSERT_NE (stream, nullptr) << file.getFullPathName();

    const auto channels = (unsigned int) samples.size();
    const int writerBits = format->getPossibleBitDepths().contains (bits) ? bits : format->getPossibleBitDepths()[0];
    std::unique_ptr<juce::AudioFormatWriter> writer (
        format->createWriterFor (stream.get(), rate, channels, writerBits, {}, 5));
    ASSERT_NE (writer, nullptr) << file.getFullPathName();
    stream.release();

    const auto length = samples.empty() ? 0 : samples[0].size();
    const auto scale = (juce::int64) 1 << (32 - bits);
    const size_t block = 65536;
    std::vector<std::vector<int>> buffers (channels, std::vector<int> (block));
    std::vector<const int*> pointers;
    for (auto& buffer : buffers)
        pointers.push_back (buffer.data());
    pointers.push_back (nullptr);

    for (size_t start = 0; start < length; start += block)
    {
        const auto count = std::min (block, length - start);
        for (size_t c = 0; c < channels; ++c)
            for (size_t i = 0; i < count; ++i)
                buffers[c][i] = (int) ((juce::int64) samples[c][start + i] * scale);
        ASSERT_TRUE (writer->write (pointers.data(), (int) count));
    }
}

Decoded readAudio (const juce::File& file, int bits)
{
    Decoded decoded;
    auto format = formatFor (file);
    if (format == nullptr)
        return decoded;

    std::unique_ptr<juce::AudioFormatReader> reader (
        format->createReaderFor (file.createInputStream().release(), true));
    if (reader == nullptr)
        return decoded;

    decoded.opened = true;
    decoded.rate = reader->sampleRate;
    decoded.channels = (int) reader->numChannels;
    decoded.bits = (int) reader->bitsPerSample;
    decoded.length = reader->lengthInSamples;

    const auto length = (int) reader->lengthInSamples;
    juce::AudioBuffer<float> floats (decoded.channels, juce::jmax (1, length));
    std::vector<std::vector<int>> ints ((size_t) decoded.channels, std::vector<int> ((size_t) juce::jmax (1, length)));
    std::vector<int*> pointers;
    for (auto& channel : ints)
        pointers.push_back (channel.data());

    decoded.samples.assign ((size_t) decoded.channels, std::vector<int> ((size_t) length));
    if (reader->usesFloatingPointData)
    {
        reader->read (&floats, 0, length, 0, true, true);
        for (int c = 0; c < decoded.channels; ++c)
            for (int i = 0; i < length; ++i)
                decoded.samples[(size_t) c][(size_t) i] = (int) std::lround (
                    juce::jlimit (-1.0, 1.0, (double) floats.getSample (c, i)) * std::ldexp (1.0, bits - 1));
    }
    else
    {
        reader->read (pointers.data(), decoded.channels, 0, length, false);
        for (int c = 0; c < decoded.channels; ++c)
            for (int i = 0; i < length; ++i)
                decoded.samples[(size_t) c][(size_t) i] =
                    (int) std::floor (std::ldexp ((double) ints[(size_t) c][(size_t) i], bits - 32));
    }
    return decoded;
}

std::string difference (const Channels& expected, const Channels& actual, int tolerance)
{
    std::ostringstream out;
    if (expected.size() != actual.size())
    {
        out << "channels: expected " << expected.size() << ", got " << actual.size();
        return out.str();
    }

    for (size_t c = 0; c < expected.size(); ++c)
    {
        if (expected[c].size() != actual[c].size())
        {
            out << "channel " << c << " length: expected " << expected[c].size() << ", got " << actual[c].size();
            return out.str();
        }

        for (size_t i = 0; i < expected[c].size(); ++i)
        {
            if (std::abs (expected[c][i] - actual[c][i]) > tolerance)
            {
                out << "channel " << c << " sample " << i << ": expected " << expected[c][i] << ", got "
                    << actual[c][i];
                return out.str();
            }
        }
    }
    return {};
}

//==============================================================================
ToolRun runTool (const juce::StringArray& arguments)
{
    ToolRun run;
    juce::ChildProcess process;
    if (! process.start (arguments, juce::ChildProcess::wantStdOut | juce::ChildProcess::wantStdErr))
        return run;

    run.output = process.readAllProcessOutput();
    process.waitForProcessToFinish (600000);
    run.exitCode = (int) process.getExitCode();
    return run;
}

bool toolInstalled (const juce::String& name)
{
    const auto path = juce::SystemStats::getEnvironmentVariable ("PATH", "/usr/bin:/bin");
    for (const auto& folder : juce::StringArray::fromTokens (path, ":", {}))
        if (folder.isNotEmpty() && juce::File (folder).getChildFile (name).existsAsFile())
            return true;
    return false;
}

SoxInfo soxInfo (const juce::File& file)
{
    const auto ask = [&file] (const char* option) {
        return runTool ({ "soxi", option, file.getFullPathName() }).output.trim();
    };

    SoxInfo info;
    info.rate = ask ("-r").getIntValue();
    info.channels = ask ("-c").getIntValue();
    info.bits = ask ("-b").getIntValue();
    info.samples = ask ("-s").getLargeIntValue();
    info.encoding = ask ("-e");
    return info;
}

Channels decodeWithSox (const juce::File& file, int channels)
{
    const auto raw = file.getSiblingFile (file.getFileName() + ".sox.raw");
    const auto run = runTool ({ "sox", "-D", file.getFullPathName(), "-t", "raw", "-e", "signed-integer", "-b", "16",
                                "-L", raw.getFullPathName() });
    EXPECT_EQ (run.exitCode, 0) << run.output;
    auto samples = readRaw16 (raw, channels);
    raw.deleteFile();
    return samples;
}

Channels decodeWithFlac (const juce::File& file, int channels)
{
    const auto raw = file.getSiblingFile (file.getFileName() + ".flac.raw");
    const auto run = runTool ({ "flac", "-d", "-s", "-f", "--force-raw-format", "--endian=little", "--sign=signed",
                                "-o", raw.getFullPathName(), file.getFullPathName() });
    EXPECT_EQ (run.exitCode, 0) << run.output;
    auto samples = readRaw16 (raw, channels);
    raw.deleteFile();
    return samples;
}

Channels decodeWithMpg123 (const juce::File& file, int channels)
{
    const auto raw = file.getSiblingFile (file.getFileName() + ".mpg123.raw");
    const auto run =
        runTool ({ "mpg123", "-q", "--no-gapless", "-e", "s16", "-O", raw.getFullPathName(), file.getFullPathName() });
    EXPECT_EQ (run.exitCode, 0) << run.output;
    auto samples = readRaw16 (raw, channels);
    raw.deleteFile();
    return samples;
}

OggInfo oggInfo (const juce::File& file)
{
    OggInfo info;
    const auto run = runTool ({ "ogginfo", file.getFullPathName() });
    info.exitCode = run.exitCode;
    info.output = run.output;

    for (const auto& line : juce::StringArray::fromLines (run.output))
    {
        const auto trimmed = line.trim();
        if (trimmed.startsWith ("Rate:"))
            info.rate = trimmed.fromFirstOccurrenceOf (":", false, false).getIntValue();
        else if (trimmed.startsWith ("Channels:"))
            info.channels = trimmed.fromFirstOccurrenceOf (":", false, false).getIntValue();
        else if (trimmed.startsWith ("Nominal bitrate:"))
            info.nominalKbps = trimmed.fromFirstOccurrenceOf (":", false, false).trim().getDoubleValue();
    }
    return info;
}

juce::String pythonWithMutagen()
{
    // Debian's python3-mutagen lives with the system's Python, which a PATH may put behind another.
    return juce::File ("/usr/bin/python3").existsAsFile() ? "/usr/bin/python3" : "python3";
}

juce::var mutagenTags (const juce::File& file)
{
    const auto run =
        runTool ({ pythonWithMutagen(), "-c",
                   "import json, sys, mutagen\n"
                   "try:\n"
                   "    f = mutagen.File (sys.argv[1])\n"
                   "    tags = f.tags if f is not None else None\n"
                   "    out = {} if tags is None else {k.lower(): [str (v) for v in tags[k]] for k in tags.keys()}\n"
                   "except Exception as e:\n"
                   "    out = {'error': str (e)}\n"
                   "print (json.dumps (out))",
                   file.getFullPathName() });
    auto parsed = juce::JSON::parse (run.output.trim());
    if (! parsed.isObject())
    {
        auto object = std::make_unique<juce::DynamicObject>();
        object->setProperty ("error", run.output);
        return juce::var (object.release());
    }
    return parsed;
}

juce::String mutagenField (const juce::var& tags, const juce::String& field)
{
    const auto values = tags.getProperty (field, juce::var());
    if (! values.isArray() || values.size() == 0)
        return "(absent)";
    return values[0].toString();
}

TagLibTags tagLibTags (const juce::File& file)
{
    TagLibTags result;
    TagLib::FileRef fileRef (file.getFullPathName().toRawUTF8());
    auto* tag = fileRef.isNull() ? nullptr : fileRef.tag();
    if (tag == nullptr)
        return result;

    const auto text = [] (const TagLib::String& value) { return juce::String::fromUTF8 (value.toCString (true)); };

    result.opened = true;
    result.title = text (tag->title());
    result.album = text (tag->album());
    result.artist = text (tag->artist());
    result.genre = text (tag->genre());
    result.year = tag->year();
    result.track = tag->track();
    return result;
}

juce::File unwritableFolder()
{
    auto folder = freshFolder ("locked");
    ::chmod (folder.getFullPathName().toRawUTF8(), 0555);

    // An administrator writes through permissions: then take a place no one can write to.
    const auto probe = folder.getChildFile ("probe");
    if (probe.create().wasOk())
    {
        probe.deleteFile();
        folder = juce::File ("/proc/groovesmith-nowhere");
        EXPECT_FALSE (folder.getChildFile ("probe").create().wasOk());
    }
    return folder;
}

//==============================================================================
ActWhenWritten::ActWhenWritten (const juce::File& file, std::function<void()> toDo)
    : juce::Thread ("destination watcher"),
      destination (file),
      action (std::move (toDo))
{
    startThread (juce::Thread::Priority::highest);
}

ActWhenWritten::~ActWhenWritten()
{
    stopThread (10000);
}

void ActWhenWritten::run()
{
    while (! threadShouldExit())
    {
        if (destination.getSize() > 0)
        {
            action();
            hasActed = true;
            return;
        }
        juce::Thread::sleep (1);
    }
}

void pressCancelOfModalWindow()
{
    juce::MessageManager::callAsync (
        []
        {
            if (auto* window = juce::Component::getCurrentlyModalComponent())
                for (auto* child : window->getChildren())
                    if (auto* button = dynamic_cast<juce::Button*> (child))
                        if (button->getButtonText() == "Cancel")
                            button->triggerClick();
        });
}
} // namespace audiofiles
