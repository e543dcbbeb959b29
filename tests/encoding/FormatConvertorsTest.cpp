// A track's WAV file becomes AIFF, FLAC or Ogg Vorbis, always marked 44100 Hz and stereo.
#include "encoding/FormatConvertors.h"
#include "encoding/AudioFiles.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

using namespace audiofiles;

namespace
{
class FormatConvertorsTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        REQUIRE_TOOL ("sox", "sox");
        REQUIRE_TOOL ("soxi", "sox");
        REQUIRE_TOOL ("flac", "flac");
        REQUIRE_TOOL ("metaflac", "flac");
        REQUIRE_TOOL ("ogginfo", "vorbis-tools");
        REQUIRE_TOOL ("oggenc", "vorbis-tools");
        REQUIRE_TOOL ("python3", "python3");
    }

    juce::File makeWav (const juce::String& name, double rate, int bits, const Channels& signal)
    {
        const auto file = folder.getChildFile (name);
        writeAudio (file, rate, bits, signal);
        return file;
    }

    template <typename ConvertorType>
    bool convert (const juce::File& source, const juce::File& destination)
    {
        ConvertorType convertor;
        return convertor.convert (source.getFullPathName(), destination.getFullPathName(), &project);
    }

    static juce::String metaflac (const char* option, const juce::File& file)
    {
        return runTool ({ "metaflac", option, file.getFullPathName() }).output.trim();
    }

    /** The checks of the flac tool: a sound stream, 44100 Hz, stereo, 16 bits, this length. */
    static void expectFlac (const juce::File& file, juce::int64 samples)
    {
        const auto test = runTool ({ "flac", "-t", "-s", file.getFullPathName() });
        EXPECT_EQ (test.exitCode, 0) << test.output;
        EXPECT_EQ (metaflac ("--show-sample-rate", file), "44100");
        EXPECT_EQ (metaflac ("--show-channels", file), "2");
        EXPECT_EQ (metaflac ("--show-bps", file), "16");
        EXPECT_EQ (metaflac ("--show-total-samples", file), juce::String (samples));
        expectOurReaderSees (file, samples);
    }

    /** The program's own reader agrees: 44100 Hz, stereo, this length. */
    static void expectOurReaderSees (const juce::File& file, juce::int64 samples)
    {
        const auto ours = readAudio (file);
        EXPECT_TRUE (ours.opened) << file.getFileName();
        EXPECT_EQ (ours.rate, 44100.0) << file.getFileName();
        EXPECT_EQ (ours.channels, 2) << file.getFileName();
        EXPECT_EQ (ours.length, samples) << file.getFileName();
    }

    static void expectAiff (const juce::File& file, juce::int64 samples)
    {
        EXPECT_EQ (file.getSize() >= 4 ? file.loadFileAsString().substring (0, 4) : juce::String(), "FORM");
        const auto info = soxInfo (file);
        EXPECT_EQ (info.rate, 44100);
        EXPECT_EQ (info.channels, 2);
        EXPECT_EQ (info.bits, 16);
        EXPECT_EQ (info.samples, samples);
        EXPECT_EQ (info.encoding, "Signed Integer PCM");
        expectOurReaderSees (file, samples);
    }

    static void expectOgg (const juce::File& file, juce::int64 samples, double nominalKbps)
    {
        expectOurReaderSees (file, samples);
        const auto info = oggInfo (file);
        EXPECT_EQ (info.exitCode, 0) << info.output;
        EXPECT_EQ (info.rate, 44100);
        EXPECT_EQ (info.channels, 2);
        EXPECT_EQ (info.nominalKbps, nominalKbps) << info.output;
        EXPECT_FALSE (info.output.containsIgnoreCase ("warning")) << info.output;
    }

    /** The nominal bit rate that oggenc gives the same sound at quality 5. */
    double oggencNominalKbps (const juce::File& wav)
    {
        const auto reference = folder.getChildFile ("reference.ogg");
        const auto run = runTool ({ "oggenc", "-Q", "-q", "5", "--resample", "44100", "-o", reference.getFullPathName(),
                                    wav.getFullPathName() });
        EXPECT_EQ (run.exitCode, 0) << run.output;
        return oggInfo (reference).nominalKbps;
    }

    FakeDialogs dialogs;
    Project project;
    juce::File folder = freshFolder ("formats");
};
} // namespace

TEST_F (FormatConvertorsTest, aiffHoldsTheSameSixteenBitStereoSamples)
{
    const auto signal = makeSignal (2, 250000, 16);
    const auto source = makeWav ("Track1.wav", 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Track1.aiff");

    ASSERT_TRUE (convert<AiffConvertor> (source, destination));

    expectAiff (destination, 250000);
    EXPECT_EQ ("", difference (signal, decodeWithSox (destination, 2)));
    const auto ours = readAudio (destination);
    EXPECT_EQ (ours.rate, 44100.0);
    EXPECT_EQ ("", difference (signal, ours.samples));
}

TEST_F (FormatConvertorsTest, flacPassesTheFlacToolsTestAndDecodesToTheSourceSamples)
{
    const auto signal = makeSignal (2, 250000, 16);
    const auto source = makeWav ("Track1.wav", 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Track1.flac");

    ASSERT_TRUE (convert<FlacConvertor> (source, destination));

    expectFlac (destination, 250000);
    EXPECT_EQ ("", difference (signal, decodeWithFlac (destination, 2)));
    EXPECT_EQ ("", difference (signal, readAudio (destination).samples));
}

TEST_F (FormatConvertorsTest, oggVorbisIsEncodedAtQualityFiveAsOggencWouldBe)
{
    const auto signal = makeSignal (2, 250000, 16);
    const auto source = makeWav ("Track1.wav", 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Track1.ogg");

    ASSERT_TRUE (convert<OggConvertor> (source, destination));

    const auto reference = oggencNominalKbps (source);
    EXPECT_EQ (reference, 160.0) << "quality 5 of a 44.1 kHz stereo stream is nominally 160 kb/s";
    expectOgg (destination, 250000, reference);

    // The sound survives the lossy coding, as another decoder hears it.
    const auto ours = readAudio (destination);
    EXPECT_EQ (ours.length, 250000);
    EXPECT_EQ ("", difference (signal, decodeWithSox (destination, 2), 900));
}

TEST_F (FormatConvertorsTest, aMonoTwentyFourBitWavAt48kHzComesOutAsStereoMarked44100)
{
    const auto signal = makeSignal (1, 96000, 24);
    const auto source = makeWav ("Mono.wav", 48000.0, 24, signal);
    const auto cut = reducedTo (signal, 24, 16)[0];

    const auto aiff = folder.getChildFile ("Mono.aiff");
    ASSERT_TRUE (convert<AiffConvertor> (source, aiff));
    expectAiff (aiff, 96000);
    EXPECT_EQ ("", difference ({ cut, cut }, decodeWithSox (aiff, 2)));

    const auto flac = folder.getChildFile ("Mono.flac");
    ASSERT_TRUE (convert<FlacConvertor> (source, flac));
    expectFlac (flac, 96000);
    EXPECT_EQ ("", difference ({ cut, cut }, decodeWithFlac (flac, 2)));

    const auto ogg = folder.getChildFile ("Mono.ogg");
    ASSERT_TRUE (convert<OggConvertor> (source, ogg));
    expectOgg (ogg, 96000, 160.0);
    const auto heard = decodeWithSox (ogg, 2);
    EXPECT_EQ (heard[0].size(), 96000u);
    EXPECT_EQ ("", difference ({ cut }, { heard[0] }, 900));
    EXPECT_EQ ("", difference ({ heard[0] }, { heard[1] }, 2));
}

TEST_F (FormatConvertorsTest, aStereo48kHzWavIsMarked44100WithEverySampleKept)
{
    const auto signal = makeSignal (2, 48000, 16, 9);
    const auto source = makeWav ("Fast.wav", 48000.0, 16, signal);

    const auto aiff = folder.getChildFile ("Fast.aiff");
    ASSERT_TRUE (convert<AiffConvertor> (source, aiff));
    expectAiff (aiff, 48000);
    EXPECT_EQ ("", difference (signal, decodeWithSox (aiff, 2)));

    const auto flac = folder.getChildFile ("Fast.flac");
    ASSERT_TRUE (convert<FlacConvertor> (source, flac));
    expectFlac (flac, 48000);
    EXPECT_EQ ("", difference (signal, decodeWithFlac (flac, 2)));

    const auto ogg = folder.getChildFile ("Fast.ogg");
    ASSERT_TRUE (convert<OggConvertor> (source, ogg));
    expectOgg (ogg, 48000, 160.0);
}

TEST_F (FormatConvertorsTest, aSourceOfNoLengthGivesHeadersOnly)
{
    const auto source = makeWav ("Empty.wav", 44100.0, 16, makeSignal (2, 0, 16));

    // sox refuses every AIFF without sound frames, even one it writes itself: Python's reader
    // checks this one.
    const auto aiff = folder.getChildFile ("Empty.aiff");
    ASSERT_TRUE (convert<AiffConvertor> (source, aiff));
    const auto python = runTool ({ "python3", "-W", "ignore", "-c",
                                   "import aifc, sys\n"
                                   "f = aifc.open (sys.argv[1])\n"
                                   "print (f.getnchannels(), f.getsampwidth() * 8, f.getframerate(), f.getnframes())",
                                   aiff.getFullPathName() });
    EXPECT_EQ (python.exitCode, 0) << python.output;
    EXPECT_EQ (python.output.trim(), "2 16 44100 0");

    const auto flac = folder.getChildFile ("Empty.flac");
    ASSERT_TRUE (convert<FlacConvertor> (source, flac));
    expectFlac (flac, 0);

    const auto ogg = folder.getChildFile ("Empty.ogg");
    ASSERT_TRUE (convert<OggConvertor> (source, ogg));
    const auto info = oggInfo (ogg);
    EXPECT_EQ (info.rate, 44100);
    EXPECT_EQ (info.channels, 2);
    EXPECT_EQ (info.nominalKbps, 160.0);
    EXPECT_TRUE (info.output.contains ("Playback length: 0m:00.000s")) << info.output;
    EXPECT_EQ (readAudio (ogg).length, 0);
}

TEST_F (FormatConvertorsTest, aMissingSourceFailsAndLeavesTheOldDestinationAlone)
{
    const auto missing = folder.getChildFile ("Gone.wav");

    for (const auto* name : { "Old.aiff", "Old.flac", "Old.ogg" })
    {
        SCOPED_TRACE (name);
        const auto destination = folder.getChildFile (name);
        ASSERT_TRUE (destination.replaceWithText ("an earlier file"));

        bool result = true;
        if (destination.hasFileExtension ("aiff"))
            result = convert<AiffConvertor> (missing, destination);
        else if (destination.hasFileExtension ("flac"))
            result = convert<FlacConvertor> (missing, destination);
        else
            result = convert<OggConvertor> (missing, destination);

        EXPECT_FALSE (result);
        EXPECT_EQ (destination.loadFileAsString(), "an earlier file");
    }
}

TEST_F (FormatConvertorsTest, aSourceThatIsNoWavFileFailsAndLeavesAnEmptyDestination)
{
    const auto source = folder.getChildFile ("Notes.wav");
    ASSERT_TRUE (source.replaceWithText ("These are not samples at all.\n"));

    const auto aiff = folder.getChildFile ("Notes.aiff");
    const auto flac = folder.getChildFile ("Notes.flac");
    const auto ogg = folder.getChildFile ("Notes.ogg");
    ASSERT_TRUE (aiff.replaceWithText ("an earlier file"));

    EXPECT_FALSE (convert<AiffConvertor> (source, aiff));
    EXPECT_FALSE (convert<FlacConvertor> (source, flac));
    EXPECT_FALSE (convert<OggConvertor> (source, ogg));

    for (const auto& file : { aiff, flac, ogg })
    {
        EXPECT_TRUE (file.existsAsFile()) << file.getFileName();
        EXPECT_EQ (file.getSize(), 0) << file.getFileName();
    }
}

TEST_F (FormatConvertorsTest, aReadOnlyDestinationFileIsReplaced)
{
    const auto signal = makeSignal (2, 30000, 16);
    const auto source = makeWav ("Track.wav", 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Track.flac");
    ASSERT_TRUE (destination.replaceWithText ("an earlier file"));
    ASSERT_TRUE (destination.setReadOnly (true));

    ASSERT_TRUE (convert<FlacConvertor> (source, destination));
    expectFlac (destination, 30000);
    EXPECT_EQ ("", difference (signal, decodeWithFlac (destination, 2)));
}

TEST_F (FormatConvertorsTest, aDestinationThatCannotBeWrittenFails)
{
    const auto source = makeWav ("Track.wav", 44100.0, 16, makeSignal (2, 30000, 16));
    const auto place = unwritableFolder();

    EXPECT_FALSE (convert<AiffConvertor> (source, place.getChildFile ("Track.aiff")));
    EXPECT_FALSE (convert<FlacConvertor> (source, place.getChildFile ("Track.flac")));
    EXPECT_FALSE (convert<OggConvertor> (source, place.getChildFile ("Track.ogg")));
    EXPECT_FALSE (place.getChildFile ("Track.aiff").exists());
    EXPECT_FALSE (place.getChildFile ("Track.flac").exists());
    EXPECT_FALSE (place.getChildFile ("Track.ogg").exists());
}

TEST_F (FormatConvertorsTest, cancelBetweenTwoChunksDeletesTheFlacFileAndFails)
{
    const auto source = makeWav ("Long.wav", 44100.0, 16, makeSignal (2, 16000000, 16));
    const auto destination = folder.getChildFile ("Long.flac");

    FlacConvertorThread thread (source.getFullPathName(), destination.getFullPathName(), &project);
    ActWhenWritten cancel (destination, [&thread] { thread.signalThreadShouldExit(); });
    thread.runThread (juce::Thread::Priority::normal);

    ASSERT_TRUE (cancel.acted()) << "the conversion ended before it could be cancelled";
    EXPECT_FALSE (thread.result);
    EXPECT_FALSE (destination.exists());
    EXPECT_TRUE (source.existsAsFile());
}

TEST_F (FormatConvertorsTest, theCancelButtonStopsAnOggConversionAndDeletesItsFile)
{
    const auto source = makeWav ("Long.wav", 44100.0, 16, makeSignal (2, 4000000, 16));
    const auto destination = folder.getChildFile ("Long.ogg");

    ActWhenWritten cancel (destination, [] { pressCancelOfModalWindow(); });
    EXPECT_FALSE (convert<OggConvertor> (source, destination));

    ASSERT_TRUE (cancel.acted()) << "the conversion ended before it could be cancelled";
    EXPECT_FALSE (destination.exists());
}

TEST_F (FormatConvertorsTest, theStatusLineIsTheSourceNameLessItsLastFourCharacters)
{
    const auto separator = juce::File::getSeparatorString();
    EXPECT_EQ (FormatConvertorThread::statusFor (separator + "music" + separator + "Track 12.wav"), "Track 12");
    EXPECT_EQ (FormatConvertorThread::statusFor (separator + "music" + separator + "Song.flac"), "Song.");
    EXPECT_EQ (FormatConvertorThread::statusFor ("Plain.wav"), "Plain");
}
