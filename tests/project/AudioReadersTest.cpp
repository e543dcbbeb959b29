// The one way the program opens a user's audio file, on headers that lie in ways that once took
// JUCE's readers past the end of their arithmetic or of the channels a FLAC frame holds.
#include "project/AudioReaders.h"
#include "encoding/AudioFiles.h"
#include "encoding/WavConvertor.h"
#include "project/Project.h"

using namespace audiofiles;

namespace
{
/** The format chunk of 16-bit mono at 44100 Hz. */
void writeFormatChunk (juce::MemoryOutputStream& bytes)
{
    bytes.write ("fmt ", 4);
    bytes.writeInt (16);
    bytes.writeShort (1);
    bytes.writeShort (1);
    bytes.writeInt (44100);
    bytes.writeInt (88200);
    bytes.writeShort (2);
    bytes.writeShort (16);
}

/** An RF64 file of `frames` frames of 16-bit mono, whose ds64 chunk claims `claimedDataSize`. */
juce::File rf64 (const juce::File& file, int frames, juce::int64 claimedDataSize)
{
    juce::MemoryOutputStream bytes;
    bytes.write ("RF64", 4);
    bytes.writeInt (-1);
    bytes.write ("WAVEds64", 8);
    bytes.writeInt (28);
    bytes.writeInt64 (4 + 36 + 24 + 8 + (juce::int64) frames * 2);
    bytes.writeInt64 (claimedDataSize);
    bytes.writeInt64 (frames);
    bytes.writeInt (0);
    writeFormatChunk (bytes);
    bytes.write ("data", 4);
    bytes.writeInt (-1);
    for (int i = 0; i < frames; ++i)
        bytes.writeShort ((short) (i * 7));

    file.replaceWithData (bytes.getData(), bytes.getDataSize());
    return file;
}

/** Reads every frame the reader promises into as many channels as it names. */
juce::int64 readEverything (juce::AudioFormatReader& reader)
{
    juce::AudioBuffer<float> buffer ((int) reader.numChannels, 4096);
    for (juce::int64 start = 0; start < reader.lengthInSamples; start += 4096)
        reader.read (&buffer, 0, (int) juce::jmin ((juce::int64) 4096, reader.lengthInSamples - start), start, true,
                     true);
    return reader.lengthInSamples;
}
} // namespace

TEST (AudioReaders, anRf64FileIsReadToTheSizeItsDs64ChunkGives)
{
    const auto file = rf64 (freshFolder ("rf64").getChildFile ("sound.wav"), 1000, 2000);
    juce::WavAudioFormat wav;

    const auto reader = AudioReaders::open (file, wav);

    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->lengthInSamples, 1000);
    int sample[1] = {};
    int* channels[] = { sample, nullptr };
    reader->read (channels, 1, 999, 1, false);
    EXPECT_EQ (sample[0] >> 16, (short) (999 * 7));
}

TEST (AudioReaders, anRf64FileClaimingNearlyTwoToTheSixtyThreeBytesIsRefused)
{
    const auto folder = freshFolder ("rf64 huge");
    juce::WavAudioFormat wav;

    for (const auto claim : { std::numeric_limits<juce::int64>::max(), std::numeric_limits<juce::int64>::max() - 80,
                              (juce::int64) 1 << 62 })
        EXPECT_EQ (AudioReaders::open (rf64 (folder.getChildFile ("sound.wav"), 1000, claim), wav), nullptr) << claim;

    // A claim larger than the file but one a disk could hold is cut to what is there.
    const auto reader = AudioReaders::open (rf64 (folder.getChildFile ("sound.wav"), 1000, 1 << 30), wav);
    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->lengthInSamples, 1000);
}

TEST (AudioReaders, aWavFileWhoseMetadataChunkClaimsMoreThanTheFileIsRefused)
{
    const auto folder = freshFolder ("bext");
    const auto file = folder.getChildFile ("with bext.wav");
    juce::WavAudioFormat wav;

    // 16-bit mono: the format, a broadcast chunk of 602 bytes that claims `claim`, 1000 frames.
    const auto write = [&] (juce::uint32 claim, size_t cutAtEnd)
    {
        juce::MemoryOutputStream bytes;
        bytes.write ("RIFF", 4);
        bytes.writeInt (4 + 24 + 8 + 602 + 8 + 2000);
        bytes.write ("WAVE", 4);
        writeFormatChunk (bytes);
        bytes.write ("bext", 4);
        bytes.writeInt ((int) claim);
        bytes.writeRepeatedByte (1, 602);
        bytes.write ("data", 4);
        bytes.writeInt (2000);
        for (int i = 0; i < 1000; ++i)
            bytes.writeShort ((short) i);
        file.replaceWithData (bytes.getData(), bytes.getDataSize() - cutAtEnd);
    };

    write (602, 0);
    auto reader = AudioReaders::open (file, wav);
    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->lengthInSamples, 1000);

    for (const juce::uint32 claim : { 0xfffffff0u, 0x80000000u, 10000u })
    {
        write (claim, 0);
        EXPECT_EQ (AudioReaders::open (file, wav), nullptr) << claim;
    }

    // Cut inside its audio, the file is read up to the cut.
    write (602, 400);
    reader = AudioReaders::open (file, wav);
    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->lengthInSamples, 800);
}

TEST (AudioReaders, aFlacFileWhoseFramesHoldFewerChannelsThanItsDescriptionGivesNoAudio)
{
    const auto folder = freshFolder ("flac channels");
    const auto file = folder.getChildFile ("three.flac");
    writeAudio (file, 44100.0, 16, makeSignal (2, 4410, 16));

    // The description (STREAMINFO, right after "fLaC" and its block header) says three channels.
    juce::MemoryBlock bytes;
    ASSERT_TRUE (file.loadFileAsData (bytes));
    auto* data = static_cast<juce::uint8*> (bytes.getData());
    ASSERT_EQ (((data[20] >> 1) & 7) + 1, 2);
    data[20] = (juce::uint8) ((data[20] & 0xf1) | (2 << 1));
    file.replaceWithData (bytes.getData(), bytes.getSize());

    juce::FlacAudioFormat flac;
    if (const auto reader = AudioReaders::open (file, flac))
    {
        EXPECT_EQ (reader->numChannels, 3u);
        EXPECT_EQ (readEverything (*reader), 0);
    }

    // As the convertor meets it: nothing to decode, and no channel read that is not there.
    Project project;
    const auto out = folder.getChildFile ("out.wav");
    WavConvertorThread worker (file.getFullPathName(), out.getFullPathName(), &project);
    worker.run();
    if (out.existsAsFile())
    {
        EXPECT_EQ (readAudio (out).length, 0);
    }
}

TEST (AudioReaders, aFlacFileIsCutBeforeTheFirstFrameThatLeavesItsDescription)
{
    const auto folder = freshFolder ("flac change");
    const auto stereo = folder.getChildFile ("stereo.flac");
    const auto mono = folder.getChildFile ("mono.flac");
    writeAudio (stereo, 44100.0, 16, makeSignal (2, 8192, 16));
    writeAudio (mono, 44100.0, 16, makeSignal (1, 8192, 16));

    // The stereo file's frames, then the mono file's frames after the stereo description.
    juce::MemoryBlock first, second;
    ASSERT_TRUE (stereo.loadFileAsData (first));
    ASSERT_TRUE (mono.loadFileAsData (second));
    const auto audioStart = [] (const juce::MemoryBlock& block)
    {
        // "fLaC", then metadata blocks until the one marked last.
        size_t at = 4;
        for (;;)
        {
            const auto* header = static_cast<const juce::uint8*> (block.getData()) + at;
            const auto size = ((size_t) header[1] << 16) | ((size_t) header[2] << 8) | header[3];
            at += 4 + size;
            if ((header[0] & 0x80) != 0)
                return at;
        }
    };
    // The total is left unknown, so that the reader counts the frames itself.
    auto* description = static_cast<juce::uint8*> (first.getData());
    description[21] &= 0xf0;
    std::memset (description + 22, 0, 4);
    juce::MemoryBlock joined (first);
    joined.append (static_cast<const char*> (second.getData()) + audioStart (second),
                   second.getSize() - audioStart (second));
    const auto file = folder.getChildFile ("joined.flac");
    file.replaceWithData (joined.getData(), joined.getSize());

    juce::FlacAudioFormat flac;
    const auto reader = AudioReaders::open (file, flac);

    ASSERT_NE (reader, nullptr);
    EXPECT_EQ (reader->numChannels, 2u);
    EXPECT_EQ (readEverything (*reader), 8192);
}
