// The pieces of the finished album's extras on their own: the loudness meter against the
// loudness that EBU R128 gives a known tone, the cover's checks, the tags it writes into FLAC,
// Ogg and MP3 files read back by TagLib, and the playlist's text and place.
#include "encoding/AlbumPlaylist.h"
#include "encoding/AudioFiles.h"
#include "encoding/CoverEmbedder.h"
#include "encoding/FinishedFileTags.h"
#include "encoding/ReplayGainMeter.h"
#include "project/FileNames.h"
#include "project/Project.h"

#include <juce_gui_basics/juce_gui_basics.h>

#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

#include <cmath>

using namespace audiofiles;

namespace
{
constexpr double rate = 44100.0;

/** A sine of `frequency` at `amplitude` (full scale 1.0) in both channels, as the FLAC, Ogg and
    AIFF writers take it: 32-bit integers, left-justified. */
struct Tone
{
    Tone (double frequency, double amplitude, int frames)
        : left ((size_t) frames),
          right ((size_t) frames)
    {
        for (int i = 0; i < frames; ++i)
        {
            const auto value = amplitude * std::sin (2.0 * juce::MathConstants<double>::pi * frequency * i / rate);
            left[(size_t) i] = right[(size_t) i] = (int) std::lround (value * 2147483647.0);
        }
    }

    const int* const* channels()
    {
        pointers[0] = left.data();
        pointers[1] = right.data();
        return pointers;
    }

    std::vector<int> left, right;
    const int* pointers[2] = {};
};

/** Feeds the tone as a convertor does, in chunks of `chunk` frames. */
void feed (ReplayGainMeter& meter, Tone& tone, int chunk)
{
    const auto frames = (int) tone.left.size();
    for (int at = 0; at < frames; at += chunk)
    {
        const int* chunkPointers[] = { tone.left.data() + at, tone.right.data() + at };
        meter.addSamples (chunkPointers, juce::jmin (chunk, frames - at));
    }
}

juce::MemoryBlock pictureBytes (juce::ImageFileFormat& format, juce::Image::PixelFormat pixels, int width, int height)
{
    juce::Image image (pixels, width, height, true);
    image.clear (image.getBounds(), juce::Colours::orange.withAlpha (0.5f));
    juce::MemoryOutputStream stream;
    format.writeImageToStream (image, stream);
    return stream.getMemoryBlock();
}

juce::File writeBytes (const juce::File& file, const juce::MemoryBlock& bytes)
{
    file.replaceWithData (bytes.getData(), bytes.getSize());
    return file;
}

juce::MemoryBlock fromTagLib (const TagLib::ByteVector& bytes)
{
    return juce::MemoryBlock (bytes.data(), bytes.size());
}

juce::String text (const TagLib::String& value)
{
    return juce::String::fromUTF8 (value.toCString (true));
}
} // namespace

//==============================================================================
TEST (ReplayGainMeter, writesGainsAndPeaksAsOtherToolsDo)
{
    EXPECT_EQ (ReplayGainMeter::gainText (-3.214), "-3.21 dB");
    EXPECT_EQ (ReplayGainMeter::gainText (-3.216), "-3.22 dB");
    EXPECT_EQ (ReplayGainMeter::gainText (12.5), "12.50 dB");
    EXPECT_EQ (ReplayGainMeter::gainText (-0.004), "0.00 dB");
    EXPECT_EQ (ReplayGainMeter::gainText (0.0), "0.00 dB");
    EXPECT_EQ (ReplayGainMeter::peakText (0.9543214), "0.954321");
    EXPECT_EQ (ReplayGainMeter::peakText (1.0), "1.000000");
    EXPECT_EQ (ReplayGainMeter::peakText (0.0), "0.000000");
}

TEST (ReplayGainMeter, aToneAtMinus20DbfsIsMinus20LufsAndGetsTwoDecibels)
{
    // EBU Tech 3341: a 997 Hz sine in both channels reads, in LUFS, its level in dBFS.
    ReplayGainMeter meter (true);
    Tone tone (997.0, std::pow (10.0, -20.0 / 20.0), 10 * (int) rate);

    meter.startTrack (rate);
    // Chunks as the MP3 encoder asks for them and as the other writers take them: both run
    // ahead of the meter's thread, which must keep up without losing a block.
    feed (meter, tone, 1152);
    const auto track = meter.finishTrack();

    ASSERT_TRUE (track.has_value());
    EXPECT_DOUBLE_EQ (track->seconds, 10.0);
    ASSERT_TRUE (track->measured);
    EXPECT_NEAR (track->replayGain.gain, 2.0, 0.05);
    EXPECT_NEAR (track->replayGain.peak, 0.1, 0.0001);

    // One track is the whole album.
    const auto album = meter.albumGain();
    ASSERT_TRUE (album.has_value());
    EXPECT_DOUBLE_EQ (album->gain, track->replayGain.gain);
    EXPECT_DOUBLE_EQ (album->peak, track->replayGain.peak);
}

TEST (ReplayGainMeter, theAlbumIsMeasuredOverAllItsTracksAndTakesTheirLargestPeak)
{
    ReplayGainMeter meter (true);
    Tone loud (997.0, std::pow (10.0, -14.0 / 20.0), 5 * (int) rate);
    Tone quiet (997.0, std::pow (10.0, -30.0 / 20.0), 5 * (int) rate);

    meter.startTrack (rate);
    feed (meter, loud, 100000);
    const auto first = meter.finishTrack();
    meter.startTrack (rate);
    feed (meter, quiet, 100000);
    const auto second = meter.finishTrack();

    ASSERT_TRUE (first.has_value() && first->measured);
    ASSERT_TRUE (second.has_value() && second->measured);
    EXPECT_NEAR (first->replayGain.gain, -4.0, 0.05);
    EXPECT_NEAR (second->replayGain.gain, 12.0, 0.05);

    // Equal lengths: the album's loudness is that of the mean power, which the quiet track
    // (under the gate's relative threshold of -10 LU) does not lower.
    const auto album = meter.albumGain();
    ASSERT_TRUE (album.has_value());
    EXPECT_NEAR (album->gain, first->replayGain.gain, 0.05);
    EXPECT_NEAR (album->peak, std::pow (10.0, -14.0 / 20.0), 0.0001);
}

TEST (ReplayGainMeter, mixedLevelsMakeAnAlbumGainBetweenTheTracks)
{
    ReplayGainMeter meter (true);
    Tone a (997.0, std::pow (10.0, -20.0 / 20.0), 5 * (int) rate);
    Tone b (997.0, std::pow (10.0, -23.0 / 20.0), 5 * (int) rate);

    meter.startTrack (rate);
    feed (meter, a, 100000);
    ASSERT_TRUE (meter.finishTrack().has_value());
    meter.startTrack (rate);
    feed (meter, b, 100000);
    ASSERT_TRUE (meter.finishTrack().has_value());

    // The mean power of -20 and -23 LUFS over equal lengths.
    const auto expected = -18.0 - 10.0 * std::log10 ((std::pow (10.0, -2.0) + std::pow (10.0, -2.3)) / 2.0);
    const auto album = meter.albumGain();
    ASSERT_TRUE (album.has_value());
    EXPECT_NEAR (album->gain, expected, 0.05);
}

TEST (ReplayGainMeter, silenceHasNoGainAndADiscardedTrackIsNoPartOfTheAlbum)
{
    ReplayGainMeter meter (true);
    Tone silence (997.0, 0.0, 3 * (int) rate);
    Tone loud (997.0, 0.5, 3 * (int) rate);

    meter.startTrack (rate);
    feed (meter, silence, 100000);
    const auto silent = meter.finishTrack();
    ASSERT_TRUE (silent.has_value());
    EXPECT_DOUBLE_EQ (silent->seconds, 3.0);
    EXPECT_FALSE (silent->measured);
    EXPECT_FALSE (meter.albumGain().has_value());

    // A conversion that failed half way: its loud samples must not count.
    meter.startTrack (rate);
    feed (meter, loud, 100000);
    meter.discardTrack();
    EXPECT_FALSE (meter.albumGain().has_value());
    EXPECT_FALSE (meter.finishTrack().has_value());
}

TEST (ReplayGainMeter, withoutLoudnessItOnlyCountsTheLengthAtTheFilesRate)
{
    ReplayGainMeter meter (false);
    Tone tone (440.0, 0.5, 48000);

    meter.startTrack (48000.0);
    feed (meter, tone, 1152);
    const auto track = meter.finishTrack();

    ASSERT_TRUE (track.has_value());
    EXPECT_DOUBLE_EQ (track->seconds, 1.0);
    EXPECT_FALSE (track->measured);
    EXPECT_FALSE (meter.albumGain().has_value());
}

TEST (ReplayGainMeter, interleavedSixteenBitSamplesMeasureAsTheSameSound)
{
    // The MP3 path hands over 16-bit stereo; the same tone must read the same.
    Tone tone (997.0, std::pow (10.0, -20.0 / 20.0), 5 * (int) rate);
    std::vector<juce::int16> interleaved (tone.left.size() * 2);
    for (size_t i = 0; i < tone.left.size(); ++i)
        interleaved[2 * i] = interleaved[2 * i + 1] = (juce::int16) (tone.left[i] >> 16);

    ReplayGainMeter meter (true);
    meter.startTrack (rate);
    for (size_t at = 0; at < tone.left.size(); at += 1152)
        meter.addSamples (interleaved.data() + 2 * at, (int) juce::jmin ((size_t) 1152, tone.left.size() - at));
    const auto track = meter.finishTrack();

    ASSERT_TRUE (track.has_value() && track->measured);
    EXPECT_NEAR (track->replayGain.gain, 2.0, 0.05);
}

TEST (ReplayGainMeter, aMonoFileIsMeasuredAsOneChannel)
{
    // As other tools measure a mono file: 3 dB below the same sound in both channels.
    std::vector<float> samples (5 * (size_t) rate);
    for (size_t i = 0; i < samples.size(); ++i)
        samples[i] = (float) (0.1 * std::sin (2.0 * juce::MathConstants<double>::pi * 997.0 * (double) i / rate));
    const float* channels[] = { samples.data() };

    ReplayGainMeter meter (true);
    meter.startTrack (rate, 1);
    meter.addSamples (channels, (int) samples.size());
    const auto track = meter.finishTrack();

    ASSERT_TRUE (track.has_value() && track->measured);
    EXPECT_NEAR (track->replayGain.gain, 5.01, 0.05);
}

//==============================================================================
TEST (CoverEmbedder, theMimeTypeComesFromTheBytesNotTheName)
{
    juce::JPEGImageFormat jpeg;
    juce::PNGImageFormat png;
    const auto folder = freshFolder ("covers");

    // A PNG picture saved under a JPEG name is a PNG.
    const auto pngBytes = pictureBytes (png, juce::Image::ARGB, 40, 30);
    const CoverEmbedder misnamed (writeBytes (folder.getChildFile ("scan.jpg"), pngBytes));
    ASSERT_TRUE (misnamed.canEmbed());
    EXPECT_EQ (misnamed.getPicture().mimeType, "image/png");
    EXPECT_EQ (misnamed.getPicture().bytes, pngBytes);
    EXPECT_EQ (misnamed.getPicture().width, 40);
    EXPECT_EQ (misnamed.getPicture().height, 30);
    EXPECT_EQ (misnamed.getPicture().colourDepth, 32);

    const auto jpegBytes = pictureBytes (jpeg, juce::Image::RGB, 24, 16);
    const CoverEmbedder photo (writeBytes (folder.getChildFile ("front.PNG"), jpegBytes));
    ASSERT_TRUE (photo.canEmbed());
    EXPECT_EQ (photo.getPicture().mimeType, "image/jpeg");
    EXPECT_EQ (photo.getPicture().bytes, jpegBytes);
    EXPECT_EQ (photo.getPicture().width, 24);
    EXPECT_EQ (photo.getPicture().height, 16);
    EXPECT_EQ (photo.getPicture().colourDepth, 24);
}

TEST (CoverEmbedder, whatIsNoPictureOrTooLargeIsNotEmbedded)
{
    const auto folder = freshFolder ("covers");

    const CoverEmbedder none ((juce::File()));
    EXPECT_FALSE (none.wasChosen());
    EXPECT_FALSE (none.canEmbed());

    const CoverEmbedder missing (folder.getChildFile ("gone.jpg"));
    EXPECT_TRUE (missing.wasChosen());
    EXPECT_FALSE (missing.canEmbed());

    const auto page = folder.getChildFile ("cover.jpg");
    page.replaceWithText ("<html>not a picture</html>");
    EXPECT_FALSE (CoverEmbedder (page).canEmbed());

    // A JPEG signature on bytes that are no picture.
    const juce::uint8 broken[] = { 0xff, 0xd8, 0xff, 0xe0, 0, 0, 0, 0, 0, 0 };
    EXPECT_FALSE (
        CoverEmbedder (writeBytes (folder.getChildFile ("broken.jpg"), { broken, sizeof (broken) })).canEmbed());

    // A real picture with data behind its end, which decoders ignore: up to 16 MB it goes in,
    // one byte more and it stays out.
    juce::JPEGImageFormat jpeg;
    auto padded = pictureBytes (jpeg, juce::Image::RGB, 8, 8);
    padded.setSize ((size_t) CoverEmbedder::largestPicture, true);
    const CoverEmbedder largest (writeBytes (folder.getChildFile ("largest.jpg"), padded));
    EXPECT_TRUE (largest.canEmbed());
    EXPECT_EQ (largest.getPicture().bytes.getSize(), (size_t) CoverEmbedder::largestPicture);

    padded.setSize ((size_t) CoverEmbedder::largestPicture + 1, true);
    EXPECT_FALSE (CoverEmbedder (writeBytes (folder.getChildFile ("too large.jpg"), padded)).canEmbed());
}

TEST (CoverEmbedder, theColourDepthIsReadFromThePicturesHeader)
{
    juce::PNGImageFormat png;
    juce::JPEGImageFormat jpeg;
    const auto rgb = pictureBytes (png, juce::Image::RGB, 4, 4);
    EXPECT_EQ (CoverEmbedder::colourDepthOf (rgb.getData(), rgb.getSize()), 24);
    const auto rgba = pictureBytes (png, juce::Image::ARGB, 4, 4);
    EXPECT_EQ (CoverEmbedder::colourDepthOf (rgba.getData(), rgba.getSize()), 32);
    const auto photo = pictureBytes (jpeg, juce::Image::RGB, 4, 4);
    EXPECT_EQ (CoverEmbedder::colourDepthOf (photo.getData(), photo.getSize()), 24);

    // A grey JPEG: eight bits of one component, in a frame header behind another segment.
    const juce::uint8 grey[] = { 0xff, 0xd8, 0xff, 0xe0, 0x00, 0x04, 0x00, 0x00, 0xff, 0xc0, 0x00,
                                 0x0b, 0x08, 0x00, 0x04, 0x00, 0x04, 0x01, 0x01, 0x11, 0x00 };
    EXPECT_EQ (CoverEmbedder::colourDepthOf (grey, sizeof (grey)), 8);

    const juce::uint8 noPicture[] = { 'G', 'I', 'F', '8', '9', 'a' };
    EXPECT_EQ (CoverEmbedder::colourDepthOf (noPicture, sizeof (noPicture)), 0);
    EXPECT_EQ (CoverEmbedder::mimeTypeOf (noPicture, sizeof (noPicture)), "");
}

//==============================================================================
class FinishedFileTagsTest : public ::testing::Test
{
protected:
    /** A short file of the format, tagged as the run's own step tags it. */
    juce::File finishedFile (const juce::String& name)
    {
        const auto file = folder.getChildFile (name);
        writeAudio (file, 44100.0, 16, makeSignal (2, 22050, 16));
        return file;
    }

    FinishedFileTags::Picture picture()
    {
        juce::PNGImageFormat png;
        FinishedFileTags::Picture result;
        result.bytes = pictureBytes (png, juce::Image::ARGB, 20, 10);
        result.mimeType = "image/png";
        result.width = 20;
        result.height = 10;
        result.colourDepth = 32;
        return result;
    }

    juce::File folder = freshFolder ("finished");
};

TEST_F (FinishedFileTagsTest, aFlacFileGetsAFrontCoverBlockAndCommentsInPlaceOfOldOnes)
{
    const auto file = finishedFile ("song.flac");
    const auto cover = picture();

    {
        FinishedFileTags tags (file, formatFlac);
        ASSERT_TRUE (tags.isOpen());
        tags.setFrontCover (cover);
        tags.setText ("REPLAYGAIN_TRACK_GAIN", "-1.00 dB");
        ASSERT_TRUE (tags.save());
    }
    {
        // A second time: the cover and the value are replaced, not doubled.
        FinishedFileTags tags (file, formatFlac);
        tags.setFrontCover (cover);
        tags.setText ("replaygain_track_gain", "-3.21 dB");
        ASSERT_TRUE (tags.save());
    }

    TagLib::FLAC::File flac (file.getFullPathName().toRawUTF8());
    ASSERT_TRUE (flac.isValid());
    const auto pictures = flac.pictureList();
    ASSERT_EQ (pictures.size(), 1u);
    EXPECT_EQ (pictures.front()->type(), TagLib::FLAC::Picture::FrontCover);
    EXPECT_EQ (text (pictures.front()->mimeType()), "image/png");
    EXPECT_EQ (pictures.front()->width(), 20);
    EXPECT_EQ (pictures.front()->height(), 10);
    EXPECT_EQ (pictures.front()->colorDepth(), 32);
    EXPECT_EQ (fromTagLib (pictures.front()->data()), cover.bytes);

    const auto fields = flac.xiphComment()->fieldListMap();
    ASSERT_TRUE (fields.contains ("REPLAYGAIN_TRACK_GAIN"));
    ASSERT_EQ (fields["REPLAYGAIN_TRACK_GAIN"].size(), 1u);
    EXPECT_EQ (text (fields["REPLAYGAIN_TRACK_GAIN"].front()), "-3.21 dB");
}

TEST_F (FinishedFileTagsTest, anOggFileGetsItsCoverAsAPictureComment)
{
    const auto file = finishedFile ("song.ogg");
    const auto cover = picture();

    FinishedFileTags tags (file, formatOgg);
    ASSERT_TRUE (tags.isOpen());
    tags.setFrontCover (cover);
    tags.setText ("REPLAYGAIN_TRACK_PEAK", "0.500000");
    ASSERT_TRUE (tags.save());

    TagLib::Ogg::Vorbis::File ogg (file.getFullPathName().toRawUTF8());
    ASSERT_TRUE (ogg.isValid());
    auto* comments = ogg.tag();
    ASSERT_NE (comments, nullptr);
    const auto pictures = comments->pictureList();
    ASSERT_EQ (pictures.size(), 1u);
    EXPECT_EQ (pictures.front()->type(), TagLib::FLAC::Picture::FrontCover);
    EXPECT_EQ (text (pictures.front()->mimeType()), "image/png");
    EXPECT_EQ (fromTagLib (pictures.front()->data()), cover.bytes);
    EXPECT_EQ (text (comments->fieldListMap()["REPLAYGAIN_TRACK_PEAK"].front()), "0.500000");
}

TEST_F (FinishedFileTagsTest, otherFormatsAndUnreadableFilesAreNotTouched)
{
    const auto wav = finishedFile ("song.wav");
    juce::MemoryBlock before, after;
    ASSERT_TRUE (wav.loadFileAsData (before));
    FinishedFileTags tags (wav, formatWav);
    EXPECT_FALSE (tags.isOpen());
    tags.setFrontCover (picture());
    EXPECT_FALSE (tags.save());
    ASSERT_TRUE (wav.loadFileAsData (after));
    EXPECT_EQ (after, before);

    const auto fake = folder.getChildFile ("not really.flac");
    fake.replaceWithText ("no audio at all");
    FinishedFileTags unreadable (fake, formatFlac);
    EXPECT_FALSE (unreadable.isOpen());
    EXPECT_FALSE (unreadable.save());
    EXPECT_EQ (fake.loadFileAsString(), "no audio at all");
}

//==============================================================================
TEST (AlbumPlaylist, isNamedAfterTheAlbumTheArtistOrNothing)
{
    EXPECT_EQ (AlbumPlaylist::fileNameFor ("Blue Train", "John Coltrane"), "Blue Train.m3u8");
    EXPECT_EQ (AlbumPlaylist::fileNameFor ("", "John Coltrane"), "John Coltrane.m3u8");
    EXPECT_EQ (AlbumPlaylist::fileNameFor ("", ""), "Playlist.m3u8");
    // Cleaned as the album folder's name is.
    EXPECT_EQ (AlbumPlaylist::fileNameFor ("Live: \"AC/DC\"?", ""), "Live ACDC.m3u8");
    EXPECT_EQ (AlbumPlaylist::fileNameFor ("..", ""), "__.m3u8");
    const auto summer = juce::String::fromUTF8 ("\xc3\x89t\xc3\xa9");
    EXPECT_EQ (AlbumPlaylist::fileNameFor (summer, ""), summer + ".m3u8");
}

TEST (AlbumPlaylist, aLongNameIsCutToWhatAFileNameTakesInBytesAndAPlainOneIsNot)
{
    // 100 letters of three bytes: the name would take 305 bytes.
    const auto kanji = juce::String::fromUTF8 ("\xe6\xbc\xa2");
    const auto album = juce::String::repeatedString (kanji, 100);
    const auto name = AlbumPlaylist::fileNameFor (album, "");
    EXPECT_LE (FileNames::bytesOf (name), 255);
    EXPECT_GT (FileNames::bytesOf (name), 200);
    EXPECT_TRUE (name.endsWith (".m3u8"));
    EXPECT_TRUE (album.startsWith (name.dropLastCharacters (5)));

    // It is written, through its temporary file, and so is a second copy beside a file of the user's.
    const auto folder = freshFolder ("playlist");
    AlbumPlaylist playlist;
    playlist.add (folder.getChildFile ("01 - a.flac"), "", "a", 10);
    const auto first = playlist.placeIn (folder, name);
    EXPECT_EQ (first, folder.getChildFile (name));
    ASSERT_TRUE (playlist.writeTo (first));
    {
        // The user's own file, written in place under that name.
        juce::FileOutputStream users (first);
        ASSERT_TRUE (users.openedOk());
        users.setPosition (0);
        users.truncate();
        users.writeText ("the user's own file", false, false, nullptr);
    }
    const auto second = playlist.placeIn (folder, name);
    EXPECT_NE (second, first);
    EXPECT_TRUE (playlist.writeTo (second));
    EXPECT_TRUE (second.loadFileAsString().startsWith ("#EXTM3U"));
    EXPECT_EQ (first.loadFileAsString(), "the user's own file");

    // 200 plain letters fit whole.
    const auto plain = juce::String::repeatedString ("p", 200);
    EXPECT_EQ (AlbumPlaylist::fileNameFor (plain, ""), plain + ".m3u8");
}

TEST (AlbumPlaylist, listsTheTracksInOrderRelativeToItsFolderWithLengthsAndTitles)
{
    const auto folder = freshFolder ("Album");
    AlbumPlaylist playlist;
    const auto summer = juce::String::fromUTF8 ("\xc3\x89t\xc3\xa9");
    playlist.add (folder.getChildFile ("01 - Artiste - " + summer + ".flac"), "Artiste", summer, 185);
    playlist.add (folder.getChildFile ("sub").getChildFile ("02 - Artiste - Two.flac"), "Artiste", "Two", 3);
    playlist.add (folder.getChildFile ("#3.flac"), "", "#3", -1);
    playlist.add (folder.getSiblingFile ("elsewhere").getChildFile ("4.flac"), "", "Four\nLines", 60);

    const auto file = folder.getChildFile ("Album.m3u8");
    ASSERT_TRUE (playlist.writeTo (file));

    // UTF-8 without a byte order mark, one line each.
    juce::MemoryBlock bytes;
    ASSERT_TRUE (file.loadFileAsData (bytes));
    EXPECT_EQ (juce::String::fromUTF8 (static_cast<const char*> (bytes.getData()), (int) bytes.getSize()),
               juce::String::fromUTF8 ("#EXTM3U\n"
                                       "#EXTINF:185,Artiste - \xc3\x89t\xc3\xa9\n"
                                       "01 - Artiste - \xc3\x89t\xc3\xa9.flac\n"
                                       "#EXTINF:3,Artiste - Two\n"
                                       "sub/02 - Artiste - Two.flac\n"
                                       "#EXTINF:-1,#3\n"
                                       "./#3.flac\n"
                                       "#EXTINF:60,Four Lines\n"
                                       "../elsewhere/4.flac\n"));
    EXPECT_EQ (static_cast<const juce::uint8*> (bytes.getData())[0], '#');
}

TEST (AlbumPlaylist, replacesItsOwnEarlierPlaylistButNoOtherFile)
{
    const auto folder = freshFolder ("Album");
    AlbumPlaylist playlist;
    playlist.add (folder.getChildFile ("01 - One.flac"), "", "One", 10);
    playlist.add (folder.getChildFile ("02 - Two.flac"), "", "Two", 20);

    EXPECT_EQ (playlist.placeIn (folder, "Album.m3u8").getFullPathName(),
               folder.getChildFile ("Album.m3u8").getFullPathName());

    // The same album encoded again: its playlist is written over.
    ASSERT_TRUE (playlist.writeTo (folder.getChildFile ("Album.m3u8")));
    EXPECT_EQ (playlist.placeIn (folder, "Album.m3u8").getFullPathName(),
               folder.getChildFile ("Album.m3u8").getFullPathName());

    // A playlist of the user's own, of other songs, and a text that is no playlist, stay.
    folder.getChildFile ("Mine.m3u8").replaceWithText ("#EXTM3U\n#EXTINF:5,Other\nother song.flac\n");
    EXPECT_EQ (playlist.placeIn (folder, "Mine.m3u8").getFullPathName(),
               folder.getChildFile ("Mine (2).m3u8").getFullPathName());
    folder.getChildFile ("Notes.m3u8").replaceWithText ("my notes");
    EXPECT_EQ (playlist.placeIn (folder, "Notes.m3u8").getFullPathName(),
               folder.getChildFile ("Notes (2).m3u8").getFullPathName());
    folder.getChildFile ("Folder.m3u8").createDirectory();
    EXPECT_EQ (playlist.placeIn (folder, "Folder.m3u8").getFullPathName(),
               folder.getChildFile ("Folder (2).m3u8").getFullPathName());
}

TEST (AlbumPlaylist, aPlaylistThatCannotBeWrittenSaysSo)
{
    AlbumPlaylist playlist;
    playlist.add (testHome().getChildFile ("01 - One.flac"), "", "One", 10);
    EXPECT_FALSE (playlist.writeTo (unwritableFolder().getChildFile ("Album.m3u8")));
}
