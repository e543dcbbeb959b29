// Any file the program can decode becomes a 16-bit stereo WAV file at its own sample rate.
#include "encoding/WavConvertor.h"
#include "encoding/AudioFiles.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

using namespace audiofiles;

namespace
{
class WavConvertorTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        REQUIRE_TOOL ("sox", "sox");
        REQUIRE_TOOL ("soxi", "sox");
    }

    bool convert (const juce::File& source, const juce::File& destination)
    {
        WavConvertor convertor;
        return convertor.convert (source.getFullPathName(), destination.getFullPathName(), &project);
    }

    /** The destination as sox sees it: a 16-bit signed stereo WAV of this rate and length. */
    static void expectStereoWav (const juce::File& file, int rate, juce::int64 samples)
    {
        const auto info = soxInfo (file);
        EXPECT_EQ (info.rate, rate);
        EXPECT_EQ (info.channels, 2);
        EXPECT_EQ (info.bits, 16);
        EXPECT_EQ (info.samples, samples);
        EXPECT_EQ (info.encoding, "Signed Integer PCM");

        const auto ours = readAudio (file);
        EXPECT_TRUE (ours.opened);
        EXPECT_EQ (ours.rate, rate);
        EXPECT_EQ (ours.channels, 2);
        EXPECT_EQ (ours.bits, 16);
        EXPECT_EQ (ours.length, samples);
    }

    FakeDialogs dialogs;
    Project project;
    juce::File folder = freshFolder ("wav");
};
} // namespace

TEST_F (WavConvertorTest, stereoFlacBecomesAWavWithTheSameSamples)
{
    const auto source = folder.getChildFile ("Song.flac");
    const auto signal = makeSignal (2, 250000, 16);
    writeAudio (source, 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Song.wav");

    ASSERT_TRUE (convert (source, destination));

    expectStereoWav (destination, 44100, 250000);
    EXPECT_EQ ("", difference (signal, decodeWithSox (destination, 2)));
    EXPECT_EQ ("", difference (signal, readAudio (destination).samples));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (WavConvertorTest, monoTwentyFourBitAiffAt48kHzBecomesStereoAtItsOwnRate)
{
    const auto source = folder.getChildFile ("Mono.aiff");
    const auto signal = makeSignal (1, 150000, 24);
    writeAudio (source, 48000.0, 24, signal);
    const auto destination = folder.getChildFile ("Mono.wav");

    ASSERT_TRUE (convert (source, destination));

    expectStereoWav (destination, 48000, 150000);
    const auto cut = reducedTo (signal, 24, 16)[0];
    EXPECT_EQ ("", difference ({ cut, cut }, decodeWithSox (destination, 2)));
}

TEST_F (WavConvertorTest, stereoSixteenBitAiffAt48kHzKeepsItsSamplesAndRate)
{
    const auto source = folder.getChildFile ("Stereo.aif");
    const auto signal = makeSignal (2, 120000, 16, 7);
    writeAudio (source, 48000.0, 16, signal);
    const auto destination = folder.getChildFile ("Stereo.wav");

    ASSERT_TRUE (convert (source, destination));

    expectStereoWav (destination, 48000, 120000);
    EXPECT_EQ ("", difference (signal, decodeWithSox (destination, 2)));
}

TEST_F (WavConvertorTest, monoOggVorbisBecomesStereoWithEqualChannels)
{
    const auto source = folder.getChildFile ("Mono.ogg");
    writeAudio (source, 48000.0, 16, makeSignal (1, 120000, 16, 3));
    const auto sourceLength = readAudio (source).length;
    ASSERT_GT (sourceLength, 0);
    const auto destination = folder.getChildFile ("Mono.wav");

    ASSERT_TRUE (convert (source, destination));

    expectStereoWav (destination, 48000, sourceLength);
    const auto written = decodeWithSox (destination, 2);
    EXPECT_EQ (written[0], written[1]);

    // The decoded sound is that of the source, as another decoder hears it.
    const auto reference = decodeWithSox (source, 1)[0];
    EXPECT_EQ ("", difference ({ reference }, { written[0] }, 3));
}

TEST_F (WavConvertorTest, stereoOggVorbisKeepsTwoDifferentChannels)
{
    const auto source = folder.getChildFile ("Stereo.ogg");
    writeAudio (source, 44100.0, 16, makeSignal (2, 90000, 16, 5));
    const auto destination = folder.getChildFile ("Stereo.wav");

    ASSERT_TRUE (convert (source, destination));

    expectStereoWav (destination, 44100, readAudio (source).length);
    const auto written = decodeWithSox (destination, 2);
    EXPECT_NE (written[0], written[1]);
    EXPECT_EQ ("", difference (decodeWithSox (source, 2), written, 3));
}

TEST_F (WavConvertorTest, sourcesOfNoLengthGiveAnEmptySixteenBitStereoWav)
{
    for (const auto* name : { "Empty.flac", "Empty.aiff", "Empty.ogg" })
    {
        SCOPED_TRACE (name);
        const auto source = folder.getChildFile (name);
        writeAudio (source, 48000.0, 16, makeSignal (1, 0, 16));
        const auto destination = folder.getChildFile (juce::String (name) + ".wav");

        ASSERT_TRUE (convert (source, destination));
        expectStereoWav (destination, 48000, 0);
    }
}

TEST_F (WavConvertorTest, endingsAreComparedWithoutCase)
{
    EXPECT_TRUE (WavConvertorThread::decodesItself ("/music/a.AIF"));
    EXPECT_TRUE (WavConvertorThread::decodesItself ("/music/a.Aiff"));
    EXPECT_TRUE (WavConvertorThread::decodesItself ("/music/a.FLAC"));
    EXPECT_TRUE (WavConvertorThread::decodesItself ("/music/a.Ogg"));
    EXPECT_FALSE (WavConvertorThread::decodesItself ("/music/a.wav"));
    EXPECT_FALSE (WavConvertorThread::decodesItself ("/music/a.mp3"));
    EXPECT_FALSE (WavConvertorThread::decodesItself ("/music/a.m4a"));

    const auto source = folder.getChildFile ("Loud.AIF");
    const auto signal = makeSignal (2, 30000, 16);
    writeAudio (source, 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Loud.wav");

    ASSERT_TRUE (convert (source, destination));
    EXPECT_EQ ("", difference (signal, decodeWithSox (destination, 2)));
}

TEST_F (WavConvertorTest, aWavOrMp3SourceGoesToItunesWhichThisSystemLacks)
{
    const auto wavSource = folder.getChildFile ("Already.wav");
    writeAudio (wavSource, 44100.0, 16, makeSignal (2, 1000, 16));
    const auto mp3Source = folder.getChildFile ("Song.mp3");
    ASSERT_TRUE (mp3Source.replaceWithText ("ID3"));

    EXPECT_FALSE (convert (wavSource, folder.getChildFile ("Out1.wav")));
    EXPECT_FALSE (convert (mp3Source, folder.getChildFile ("Out2.wav")));

    EXPECT_FALSE (folder.getChildFile ("Out1.wav").exists());
    EXPECT_FALSE (folder.getChildFile ("Out2.wav").exists());
    EXPECT_TRUE (dialogs.alerts().empty()) << "the failure is silent; the run tells the user";
}

TEST_F (WavConvertorTest, anExistingDestinationIsReplacedWithoutAQuestion)
{
    const auto source = folder.getChildFile ("Song.flac");
    const auto signal = makeSignal (2, 20000, 16);
    writeAudio (source, 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Song.wav");
    ASSERT_TRUE (destination.replaceWithText (juce::String::repeatedString ("old", 100000)));

    ASSERT_TRUE (convert (source, destination));

    expectStereoWav (destination, 44100, 20000);
    EXPECT_EQ ("", difference (signal, decodeWithSox (destination, 2)));
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_TRUE (dialogs.choosers().empty());
}

TEST_F (WavConvertorTest, aReadOnlyDestinationFileInAWritableFolderIsReplaced)
{
    const auto source = folder.getChildFile ("Song.flac");
    const auto signal = makeSignal (2, 20000, 16);
    writeAudio (source, 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Song.wav");
    ASSERT_TRUE (destination.replaceWithText ("old"));
    ASSERT_TRUE (destination.setReadOnly (true));

    ASSERT_TRUE (convert (source, destination));
    EXPECT_EQ ("", difference (signal, decodeWithSox (destination, 2)));
}

TEST_F (WavConvertorTest, aDestinationThatCannotBeWrittenFailsAndWritesNothing)
{
    const auto source = folder.getChildFile ("Song.flac");
    writeAudio (source, 44100.0, 16, makeSignal (2, 20000, 16));
    const auto destination = unwritableFolder().getChildFile ("Song.wav");

    EXPECT_FALSE (convert (source, destination));
    EXPECT_FALSE (destination.exists());
    EXPECT_TRUE (source.existsAsFile());
}

TEST_F (WavConvertorTest, aSourceThatIsNoAudioFileFailsAndLeavesAnEmptyDestination)
{
    for (const auto* name : { "Notes.flac", "Notes.ogg", "Notes.aiff" })
    {
        SCOPED_TRACE (name);
        const auto source = folder.getChildFile (name);
        ASSERT_TRUE (source.replaceWithText ("These are not samples at all.\n"));
        const auto destination = folder.getChildFile (juce::String (name) + ".wav");

        EXPECT_FALSE (convert (source, destination));
        EXPECT_TRUE (destination.existsAsFile());
        EXPECT_EQ (destination.getSize(), 0);
    }
}

TEST_F (WavConvertorTest, aMissingSourceFails)
{
    // The destination is opened before the source is read: it is left empty, and an earlier
    // file of that name is gone, replaced as every destination is.
    const auto destination = folder.getChildFile ("Nothing.wav");
    ASSERT_TRUE (destination.replaceWithText ("an earlier file"));

    EXPECT_FALSE (convert (folder.getChildFile ("Nothing.flac"), destination));

    EXPECT_TRUE (destination.existsAsFile());
    EXPECT_EQ (destination.getSize(), 0);
    EXPECT_FALSE (readAudio (destination).opened);
    EXPECT_FALSE (folder.getChildFile ("Nothing.flac").exists());
}

TEST_F (WavConvertorTest, cancelBetweenTwoChunksDeletesTheDestinationAndFails)
{
    const auto source = folder.getChildFile ("Long.ogg");
    writeAudio (source, 44100.0, 16, makeSignal (1, 8000000, 16));
    const auto destination = folder.getChildFile ("Long.wav");

    WavConvertorThread thread (source.getFullPathName(), destination.getFullPathName(), &project);
    ActWhenWritten cancel (destination, [&thread] { thread.signalThreadShouldExit(); });
    thread.runThread (juce::Thread::Priority::normal);

    ASSERT_TRUE (cancel.acted()) << "the conversion ended before it could be cancelled";
    EXPECT_FALSE (thread.result);
    EXPECT_FALSE (destination.exists());
    EXPECT_TRUE (source.existsAsFile());
}
