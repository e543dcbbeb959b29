// A track's WAV file becomes an MP3 file through the system's LAME library, checked by tools of
// their own: mpg123 decodes it, mutagen reads its stream, and the frames are walked one by one.
#include "encoding/Mp3LameConvertor.h"
#include "encoding/Mp3Files.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"

#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <gtest/gtest.h>

#include <map>
#include <set>

using namespace audiofiles;
using namespace mp3files;

namespace
{
/** The library's chunk: two frames of 1152 samples. */
constexpr int chunk = 2304;
constexpr int frameSamples = 1152;

/** Where the source starts in mpg123's output: the reserved frame, played as silence, then
    LAME's 576 samples of encoder delay and the decoder's 529. */
constexpr int reservedFrameAndCodecDelay = frameSamples + 576 + 529;

class Mp3LameConvertorTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        REQUIRE_LAME_LIBRARY();
        REQUIRE_TOOL ("mpg123", "mpg123");
        ASSERT_TRUE (juce::File ("/usr/bin/python3").existsAsFile());
        project.lameLibrary = Project::defaultLameLibrary();
        project.lameVbr = true;
        project.lameQuality = 2;
    }

    void TearDown() override { LameLibrary::unbind(); }

    juce::File makeWav (const juce::String& name, double rate, int bits, const Channels& signal)
    {
        const auto file = folder.getChildFile (name);
        writeAudio (file, rate, bits, signal);
        return file;
    }

    bool convert (const juce::File& source, const juce::File& destination)
    {
        Mp3LameConvertor convertor;
        return convertor.convert (source.getFullPathName(), destination.getFullPathName(), &project);
    }

    /** Converts `signal`, written first as a 16-bit WAV file beside the destination. */
    bool convertFrom (const Channels& signal, double rate, const juce::File& destination)
    {
        return convert (makeWav (destination.getFileNameWithoutExtension() + ".wav", rate, 16, signal), destination);
    }

    /** Every frame is MPEG-1 Layer III at 44100 Hz in joint stereo, the file holds nothing else,
        and the first frame is the one the encoder reserved for a VBR header: its header and
        zeros, never filled in. */
    static Frames expectJointStereoFramesAfterTheReservedOne (const juce::File& file)
    {
        const auto walked = framesOf (file);
        EXPECT_EQ (walked.audioStart, 0);
        EXPECT_EQ (walked.end, walked.fileSize) << "something other than frames in " << file.getFileName();
        EXPECT_GE (walked.frames.size(), 2u);
        for (const auto& frame : walked.frames)
        {
            EXPECT_EQ (frame.rate, 44100) << "frame at " << frame.offset;
            EXPECT_EQ (frame.mode, 1) << "frame at " << frame.offset;
        }

        if (! walked.frames.empty())
        {
            const auto reserved = frameBody (file, walked.frames[0]);
            EXPECT_TRUE (allZero (reserved)) << "the reserved first frame was written into";
            EXPECT_FALSE (holdsVbrHeader (reserved));
        }
        return walked;
    }

    static std::set<int> bitratesOfAudioFrames (const Frames& walked)
    {
        std::set<int> rates;
        for (size_t i = 1; i < walked.frames.size(); ++i)
            rates.insert (walked.frames[i].kbps);
        return rates;
    }

    /** What mutagen reads: 44100 Hz, two channels in joint stereo. */
    static MutagenInfo expectMutagenSeesJointStereoAt44100 (const juce::File& file)
    {
        const auto info = mutagenInfo (file);
        EXPECT_EQ (info.exitCode, 0) << info.output;
        EXPECT_EQ (info.rate, 44100) << info.output;
        EXPECT_EQ (info.channels, 2) << info.output;
        EXPECT_EQ (info.mode, 1) << info.output;
        return info;
    }

    /** Decodes with mpg123, lines the sound up with the source and checks the length: the source
        padded to whole chunks, plus the delay measured, within one frame. */
    struct Heard
    {
        Channels samples;
        int delay = -1;
        double residualLeft = 1.0;
        double residualRight = 1.0;
    };

    static Heard expectHeardLikeTheSource (const juce::File& mp3, const Channels& source, juce::int64 paddedLength)
    {
        Heard heard;
        heard.samples = decodeWithMpg123 (mp3, 2);
        EXPECT_EQ (heard.samples.size(), 2u);
        if (heard.samples.size() != 2)
            return heard;

        heard.delay = bestLag (source[0], heard.samples[0], 6000);
        EXPECT_EQ (bestLag (source.back(), heard.samples[1], 6000), heard.delay);
        heard.residualLeft = residual (source[0], heard.samples[0], heard.delay);
        heard.residualRight = residual (source.back(), heard.samples[1], heard.delay);

        const auto length = (juce::int64) heard.samples[0].size();
        EXPECT_NEAR ((double) length, (double) (paddedLength + heard.delay), frameSamples)
            << "decoded " << length << ", source padded to " << paddedLength << ", delay " << heard.delay;
        return heard;
    }

    /** Heard like the source, lined up after the reserved frame and the codecs' delay, and close
        to it: what differs stays 20 dB below the sound. */
    static void expectFaithfulCopy (const juce::File& mp3, const Channels& source, juce::int64 sourceLength)
    {
        const auto heard = expectHeardLikeTheSource (mp3, source, paddedToChunks (sourceLength, chunk));
        EXPECT_EQ (heard.delay, reservedFrameAndCodecDelay);
        EXPECT_LT (heard.residualLeft, 0.1);
        EXPECT_LT (heard.residualRight, 0.1);
    }

    FakeDialogs dialogs;
    Project project;
    juce::File folder = freshFolder ("mp3");
};
} // namespace

TEST_F (Mp3LameConvertorTest, vbrLevelTwoGivesAJointStereoVbrStreamAt44100)
{
    const auto signal = sweep (2, 200000, 44100.0);
    const auto destination = folder.getChildFile ("Track1.mp3");
    ASSERT_TRUE (convertFrom (signal, 44100.0, destination));
    EXPECT_FALSE (LameLibrary::isBound());

    const auto walked = expectJointStereoFramesAfterTheReservedOne (destination);
    const auto rates = bitratesOfAudioFrames (walked);
    EXPECT_GE (rates.size(), 3u) << "a VBR stream changes its bit rate from frame to frame";

    // No VBR header was written into the reserved frame, so mutagen can only guess: it takes
    // that frame's header for the rate of the stream and cannot tell the mode.
    const auto info = expectMutagenSeesJointStereoAt44100 (destination);
    EXPECT_EQ (info.bitrateMode, "UNKNOWN") << info.output;
    EXPECT_EQ (info.bitrate, 128000) << info.output;

    expectFaithfulCopy (destination, signal, 200000);
}

TEST_F (Mp3LameConvertorTest, cbrAt192GivesEveryFrameAt192)
{
    project.lameVbr = false;
    project.lameQuality = 192;
    const auto signal = sweep (2, 200000, 44100.0);
    const auto destination = folder.getChildFile ("Track1.mp3");
    ASSERT_TRUE (convertFrom (signal, 44100.0, destination));

    const auto walked = expectJointStereoFramesAfterTheReservedOne (destination);
    for (const auto& frame : walked.frames)
        EXPECT_EQ (frame.kbps, 192) << "frame at " << frame.offset;

    const auto info = expectMutagenSeesJointStereoAt44100 (destination);
    EXPECT_EQ (info.bitrate, 192000) << info.output;

    expectFaithfulCopy (destination, signal, 200000);
}

TEST_F (Mp3LameConvertorTest, eachEntryOfTheQualityListGivesItsRateOrLevel)
{
    const auto signal = sweep (2, 66150, 44100.0);
    const auto source = makeWav ("Track.wav", 44100.0, 16, signal);

    std::map<int, juce::int64> vbrSizes;
    for (const int level : { 10, 2, 9 })
    {
        SCOPED_TRACE (level);
        project.lameVbr = true;
        project.lameQuality = level;
        const auto destination = folder.getChildFile ("V" + juce::String (level % 10) + ".mp3");
        ASSERT_TRUE (convert (source, destination));

        const auto walked = expectJointStereoFramesAfterTheReservedOne (destination);
        EXPECT_GE (bitratesOfAudioFrames (walked).size(), 2u);
        vbrSizes[level % 10] = destination.getSize();
        expectHeardLikeTheSource (destination, signal, paddedToChunks (66150, chunk));
    }
    EXPECT_GT (vbrSizes[0], vbrSizes[2]);
    EXPECT_GT (vbrSizes[2], vbrSizes[9]);

    for (const int kbps : { 320, 256, 224, 192, 160, 128 })
    {
        SCOPED_TRACE (kbps);
        project.lameVbr = false;
        project.lameQuality = kbps;
        const auto destination = folder.getChildFile ("B" + juce::String (kbps) + ".mp3");
        ASSERT_TRUE (convert (source, destination));

        const auto walked = expectJointStereoFramesAfterTheReservedOne (destination);
        EXPECT_EQ (bitratesOfAudioFrames (walked), std::set<int>{ kbps });
        EXPECT_EQ (walked.frames[0].kbps, kbps);
        EXPECT_EQ (expectMutagenSeesJointStereoAt44100 (destination).bitrate, kbps * 1000);
        expectHeardLikeTheSource (destination, signal, paddedToChunks (66150, chunk));
    }
}

TEST_F (Mp3LameConvertorTest, aMonoWavIsEncodedAsJointStereoWithEqualChannels)
{
    const auto signal = sweep (1, 100000, 44100.0);
    const auto destination = folder.getChildFile ("Mono.mp3");
    ASSERT_TRUE (convertFrom (signal, 44100.0, destination));

    expectJointStereoFramesAfterTheReservedOne (destination);
    expectMutagenSeesJointStereoAt44100 (destination);
    const auto heard = expectHeardLikeTheSource (destination, signal, paddedToChunks (100000, chunk));
    EXPECT_EQ ("", difference ({ heard.samples[0] }, { heard.samples[1] }));
    EXPECT_LT (heard.residualLeft, 0.1);
}

TEST_F (Mp3LameConvertorTest, a48kHzWavIsGivenAtItsOwnRateAndResampledTo44100)
{
    const auto signal = sweep (2, 96000, 48000.0);
    const auto destination = folder.getChildFile ("Fast.mp3");
    ASSERT_TRUE (convertFrom (signal, 48000.0, destination));

    expectJointStereoFramesAfterTheReservedOne (destination);
    const auto info = expectMutagenSeesJointStereoAt44100 (destination);

    // The same sweep sampled at 44100 Hz is what a resampler makes of it; a file merely marked
    // 44100 would play it slower and lower, and would not line up.
    const auto padded = paddedToChunks (96000, chunk);
    const auto heard = expectHeardLikeTheSource (destination, sweep (2, 88200, 44100.0),
                                                 (juce::int64) std::llround (padded * 44100.0 / 48000.0));
    EXPECT_LT (heard.residualLeft, 0.15);
    EXPECT_LT (heard.residualRight, 0.15);
    EXPECT_NEAR (heard.delay, reservedFrameAndCodecDelay, 64) << "the resampler's own delay is small";
}

TEST_F (Mp3LameConvertorTest, aSourceShorterThanOneChunkIsEncodedAsOneWholeChunk)
{
    const auto signal = sweep (2, 1000, 44100.0);
    const auto destination = folder.getChildFile ("Short.mp3");
    ASSERT_TRUE (convertFrom (signal, 44100.0, destination));

    expectJointStereoFramesAfterTheReservedOne (destination);
    expectFaithfulCopy (destination, signal, 1000);
}

TEST_F (Mp3LameConvertorTest, aSourceOfNoLengthGivesWhatTheFlushGives)
{
    const auto source = makeWav ("Empty.wav", 44100.0, 16, sweep (2, 0, 44100.0));
    const auto destination = folder.getChildFile ("Empty.mp3");

    ASSERT_TRUE (convert (source, destination));

    const auto walked = expectJointStereoFramesAfterTheReservedOne (destination);
    EXPECT_LE (walked.frames.size(), 4u);
    const auto heard = decodeWithMpg123 (destination, 2);
    for (const auto& channel : heard)
        for (const auto value : channel)
            ASSERT_EQ (value, 0);
}

TEST_F (Mp3LameConvertorTest, theCancelButtonLeavesThePartAlreadyEncoded)
{
    const auto source = makeWav ("Long.wav", 44100.0, 16, sweep (2, 6000000, 44100.0));
    const auto destination = folder.getChildFile ("Long.mp3");

    ActWhenWritten cancel (destination, [] { pressCancelOfModalWindow(); });
    EXPECT_FALSE (convert (source, destination));

    ASSERT_TRUE (cancel.acted()) << "the conversion ended before it could be cancelled";
    EXPECT_FALSE (LameLibrary::isBound());
    ASSERT_TRUE (destination.existsAsFile());
    const auto walked = expectJointStereoFramesAfterTheReservedOne (destination);
    const auto heard = decodeWithMpg123 (destination, 2);
    EXPECT_GT (heard[0].size(), (size_t) 44100);
    EXPECT_LT (heard[0].size(), (size_t) 6000000);
    EXPECT_EQ (readAudio (source).length, 6000000);
}

TEST_F (Mp3LameConvertorTest, theFrameReservedForTheVbrHeaderTakesItWhenTheHeaderIsWritten)
{
    // The run never writes the header in; the library's operation that does fills exactly the
    // frame the run leaves empty.
    const auto signal = sweep (2, 100000, 44100.0);
    const auto destination = folder.getChildFile ("Tagged.mp3");
    ASSERT_TRUE (LameLibrary::bindLame (Project::defaultLameLibrary()));

    auto config = Mp3LameConvertorThread::configFor (44100.0, true, 2);
    juce::uint32 samples = 0, bufferSize = 0;
    HBE_STREAM stream = 0;
    ASSERT_EQ (LameLibrary::beInitStream (&config, &samples, &bufferSize, &stream), BE_ERR_SUCCESSFUL);
    EXPECT_EQ (samples, (juce::uint32) chunk);
    ASSERT_GT (bufferSize, 7200u);

    std::vector<juce::uint8> output (bufferSize);
    std::vector<juce::int16> values ((size_t) samples * 2);
    {
        juce::FileOutputStream out (destination);
        ASSERT_TRUE (out.openedOk());
        juce::uint32 written = 0;
        for (size_t start = 0; start < signal[0].size(); start += samples)
        {
            std::fill (values.begin(), values.end(), (juce::int16) 0);
            for (size_t i = 0; i < samples && start + i < signal[0].size(); ++i)
            {
                values[2 * i] = (juce::int16) signal[0][start + i];
                values[2 * i + 1] = (juce::int16) signal[1][start + i];
            }
            ASSERT_EQ (LameLibrary::beEncodeChunk (stream, samples * 2, values.data(), output.data(), &written),
                       BE_ERR_SUCCESSFUL);
            out.write (output.data(), written);
        }
        ASSERT_EQ (LameLibrary::beDeinitStream (stream, output.data(), &written), BE_ERR_SUCCESSFUL);
        out.write (output.data(), written);
    }

    const auto before = framesOf (destination);
    ASSERT_TRUE (allZero (frameBody (destination, before.frames[0])));

    EXPECT_EQ (LameLibrary::beWriteInfoTag (stream, destination.getFullPathName().toRawUTF8()), BE_ERR_SUCCESSFUL);
    EXPECT_EQ (LameLibrary::beCloseStream (stream), BE_ERR_SUCCESSFUL);
    EXPECT_EQ (LameLibrary::beCloseStream (stream), BE_ERR_INVALID_HANDLE);
    LameLibrary::unbind();

    const auto after = framesOf (destination);
    EXPECT_EQ (after.fileSize, before.fileSize);
    ASSERT_EQ (after.frames.size(), before.frames.size());
    EXPECT_TRUE (holdsVbrHeader (frameBody (destination, after.frames[0])));

    const auto info = mutagenInfo (destination);
    EXPECT_EQ (info.bitrateMode, "VBR") << info.output;
    EXPECT_EQ (info.rate, 44100);
    EXPECT_EQ (info.mode, 1);
    EXPECT_NEAR (info.length, paddedToChunks (100000, chunk) / 44100.0, 0.03) << info.output;
}

TEST_F (Mp3LameConvertorTest, taglibWritesId3TagsIntoOurMp3FilesThatOtherProgramsRead)
{
    const auto signal = sweep (2, 100000, 44100.0);
    const auto destination = folder.getChildFile ("Track3.mp3");
    ASSERT_TRUE (convertFrom (signal, 44100.0, destination));
    const auto untagged = framesOf (destination);

    {
        // Texts handed over as Latin-1, the way the program tags its files.
        const auto latin1 = [] (const juce::String& text)
        {
            std::string bytes;
            for (auto character : text)
                bytes += (char) (unsigned char) character;
            return TagLib::String (bytes, TagLib::String::Latin1);
        };
        TagLib::FileRef file (destination.getFullPathName().toRawUTF8());
        ASSERT_FALSE (file.isNull());
        ASSERT_NE (file.tag(), nullptr);
        file.tag()->setTitle (latin1 (juce::String::fromUTF8 ("Caf\xc3\xa9 Blue")));
        file.tag()->setArtist (latin1 ("The Band"));
        file.tag()->setAlbum (latin1 ("Live at the Hall"));
        file.tag()->setGenre (latin1 ("Jazz"));
        file.tag()->setYear (1977);
        file.tag()->setTrack (3);
        ASSERT_TRUE (file.save());
    }

    const auto info = mutagenInfo (destination);
    EXPECT_EQ (info.exitCode, 0) << info.output;
    EXPECT_EQ (info.tags["TIT2"], juce::String::fromUTF8 ("Caf\xc3\xa9 Blue")) << info.output;
    EXPECT_EQ (info.tags["TPE1"], "The Band") << info.output;
    EXPECT_EQ (info.tags["TALB"], "Live at the Hall") << info.output;
    EXPECT_EQ (info.tags["TCON"], "Jazz") << info.output;
    EXPECT_EQ (info.tags["TDRC"], "1977") << info.output;
    EXPECT_EQ (info.tags["TRCK"], "3") << info.output;
    EXPECT_EQ (info.rate, 44100);
    EXPECT_EQ (info.mode, 1);

    // The sound is untouched behind the tag.
    const auto tagged = framesOf (destination);
    EXPECT_GT (tagged.audioStart, 0);
    ASSERT_EQ (tagged.frames.size(), untagged.frames.size());
    EXPECT_TRUE (allZero (frameBody (destination, tagged.frames[0])));
    expectFaithfulCopy (destination, signal, 100000);

    // TagLib adds an ID3v1 tag behind the last frame as well.
    EXPECT_EQ (tagged.fileSize - tagged.end, 128);
    juce::MemoryBlock bytes;
    destination.loadFileAsData (bytes);
    EXPECT_EQ (juce::String (static_cast<const char*> (bytes.getData()) + tagged.end, 3), "TAG");
}
