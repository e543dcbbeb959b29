// The finished album as players show it, through the wizard's Next button with the real
// convertors: the front cover inside each FLAC, Ogg and MP3 file, their ReplayGain next to what
// loudgain measures on the same files, the playlist beside them, and the run's last message for
// what could not be added. mutagen and TagLib read the files back.
#include "app/ProjectPage.h"
#include "encoding/AudioFiles.h"
#include "encoding/Mp3Files.h"
#include "encoding/ReplayGainMeter.h"
#include "support/WizardFixture.h"

#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

#include <cmath>
#include <map>
#include <regex>

using namespace audiofiles;

namespace
{
constexpr int formatPage = 5;
constexpr int finalPage = 6;
constexpr double rate = 44100.0;

/** Track lengths: 2.2 s, listed as 2 s in the playlist. */
constexpr int trackFrames = 97020;

juce::StringArray namesIn (const juce::File& folder)
{
    juce::StringArray names;
    for (const auto& file : folder.findChildFiles (juce::File::findFilesAndDirectories, false))
        names.add (file.getFileName());
    names.sort (false);
    return names;
}

/** Two tones a fifth apart at `level` dBFS, one per channel, 16 bits. */
Channels song (double level, double frequency)
{
    const double amplitude = 32767.0 * std::pow (10.0, level / 20.0);
    Channels samples (2, std::vector<int> ((size_t) trackFrames));
    for (size_t c = 0; c < 2; ++c)
        for (size_t i = 0; i < (size_t) trackFrames; ++i)
            samples[c][i] = (int) std::lround (amplitude * std::sin (2.0 * juce::MathConstants<double>::pi * frequency *
                                                                     (1.0 + 0.5 * (double) c) * (double) i / rate));
    return samples;
}

/** The largest sample of a song, as a fraction of full scale. */
double peakOf (const Channels& samples)
{
    int largest = 0;
    for (const auto& channel : samples)
        for (const auto value : channel)
            largest = juce::jmax (largest, std::abs (value));
    return largest / 32768.0;
}

juce::MemoryBlock pictureBytes (juce::ImageFileFormat& format)
{
    juce::Image image (juce::Image::RGB, 48, 40, true);
    image.clear (image.getBounds(), juce::Colours::teal);
    image.clear ({ 8, 8, 16, 16 }, juce::Colours::yellow);
    juce::MemoryOutputStream stream;
    format.writeImageToStream (image, stream);
    return stream.getMemoryBlock();
}

//==============================================================================
/** What mutagen reads of a file's pictures and ReplayGain: pictures as type, MIME type and
    base64 bytes; ReplayGain fields by lower-case name. */
struct MutagenExtras
{
    struct Picture
    {
        int type = -1;
        juce::String mimeType;
        juce::MemoryBlock bytes;
    };

    juce::String error;
    std::vector<Picture> pictures;
    juce::StringPairArray replayGain;
};

MutagenExtras mutagenExtras (const juce::File& file)
{
    const auto run =
        runTool ({ pythonWithMutagen(), "-c",
                   "import base64, json, sys, mutagen\n"
                   "from mutagen.flac import Picture\n"
                   "out = {'pictures': [], 'gains': {}}\n"
                   "try:\n"
                   "    f = mutagen.File (sys.argv[1])\n"
                   "    kind = type (f).__name__\n"
                   "    def picture (kind, mime, data):\n"
                   "        out['pictures'].append ({'type': int (kind), 'mime': mime,\n"
                   "                                 'data': base64.b64encode (data).decode()})\n"
                   "    if kind == 'FLAC':\n"
                   "        for p in f.pictures: picture (p.type, p.mime, p.data)\n"
                   "    if kind == 'OggVorbis':\n"
                   "        for b in f.tags.get ('metadata_block_picture', []):\n"
                   "            p = Picture (base64.b64decode (b)); picture (p.type, p.mime, p.data)\n"
                   "    if kind == 'MP3':\n"
                   "        for p in f.tags.getall ('APIC'): picture (p.type, p.mime, p.data)\n"
                   "        for t in f.tags.getall ('TXXX'):\n"
                   "            if t.desc.lower().startswith ('replaygain'): out['gains'][t.desc.lower()] = t.text\n"
                   "    elif f is not None and f.tags is not None and hasattr (f.tags, 'keys'):\n"
                   "        for k in f.tags.keys():\n"
                   "            if k.lower().startswith ('replaygain'): out['gains'][k.lower()] = f.tags[k]\n"
                   "    if kind in ('WAVE', 'AIFF') and f.tags is not None:\n"
                   "        for p in f.tags.getall ('APIC'): picture (p.type, p.mime, p.data)\n"
                   "except Exception as e:\n"
                   "    out['error'] = str (e)\n"
                   "print (json.dumps (out))",
                   file.getFullPathName() });

    MutagenExtras result;
    const auto parsed = juce::JSON::parse (run.output.trim());
    if (! parsed.isObject())
    {
        result.error = run.output;
        return result;
    }

    result.error = parsed.getProperty ("error", {}).toString();
    if (const auto* pictures = parsed.getProperty ("pictures", {}).getArray())
    {
        for (const auto& picture : *pictures)
        {
            MutagenExtras::Picture p;
            p.type = (int) picture.getProperty ("type", -1);
            p.mimeType = picture.getProperty ("mime", {}).toString();
            {
                juce::MemoryOutputStream bytes (p.bytes, false);
                juce::Base64::convertFromBase64 (bytes, picture.getProperty ("data", {}).toString());
            }
            result.pictures.push_back (p);
        }
    }
    if (auto* gains = parsed.getProperty ("gains", {}).getDynamicObject())
        for (const auto& field : gains->getProperties())
            result.replayGain.set (field.name.toString(), field.value.isArray() && field.value.size() == 1
                                                              ? field.value[0].toString()
                                                              : field.value.toString());
    return result;
}

/** The pictures TagLib finds in a finished file: type, MIME type and bytes. */
std::vector<MutagenExtras::Picture> tagLibPictures (const juce::File& file, int format)
{
    std::vector<MutagenExtras::Picture> result;
    const auto bytesOf = [] (const TagLib::ByteVector& data) { return juce::MemoryBlock (data.data(), data.size()); };
    const auto text = [] (const TagLib::String& value) { return juce::String::fromUTF8 (value.toCString (true)); };
    const auto path = file.getFullPathName().toRawUTF8();

    if (format == formatFlac)
    {
        TagLib::FLAC::File flac (path);
        for (auto* picture : flac.pictureList())
            result.push_back ({ (int) picture->type(), text (picture->mimeType()), bytesOf (picture->data()) });
    }
    else if (format == formatOgg)
    {
        TagLib::Ogg::Vorbis::File ogg (path);
        if (ogg.tag() != nullptr)
            for (auto* picture : ogg.tag()->pictureList())
                result.push_back ({ (int) picture->type(), text (picture->mimeType()), bytesOf (picture->data()) });
    }
    else
    {
        TagLib::MPEG::File mp3 (path);
        if (mp3.hasID3v2Tag())
            for (auto* frame : mp3.ID3v2Tag()->frameList ("APIC"))
                if (auto* picture = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*> (frame))
                    result.push_back (
                        { (int) picture->type(), text (picture->mimeType()), bytesOf (picture->picture()) });
    }
    return result;
}

/** What loudgain measures of a set of files, as one album: gain and true peak by path, and
    the album's under "Album". */
struct LoudgainResult
{
    juce::String output;
    std::map<juce::String, std::pair<double, double>> gains;
};

LoudgainResult loudgain (const juce::Array<juce::File>& files)
{
    juce::StringArray arguments{ "loudgain", "-a", "-q", "-O" };
    for (const auto& file : files)
        arguments.add (file.getFullPathName());

    LoudgainResult result;
    result.output = runTool (arguments).output;
    for (const auto& line : juce::StringArray::fromLines (result.output))
    {
        const auto fields = juce::StringArray::fromTokens (line, "\t", {});
        if (fields.size() >= 11 && fields[0] != "File")
            result.gains[fields[0]] = { fields[8].getDoubleValue(), fields[3].getDoubleValue() };
    }
    return result;
}

//==============================================================================
class AlbumExtrasRun : public WizardTest
{
protected:
    void SetUp() override
    {
        WizardTest::SetUp();
        const auto python = runTool ({ pythonWithMutagen(), "-c", "import mutagen" });
        ASSERT_EQ (python.exitCode, 0) << "mutagen is missing: install python3-mutagen (script/setup installs it)";
        REQUIRE_TOOL ("loudgain", "loudgain");

        Project::savedTrackListFile().deleteFile();
        root = freshFolder ("album extras");
        project().setRootDirectory (root.getFullPathName());
        project().setCaptureFolder (root.getFullPathName());
    }

    void TearDown() override
    {
        project().setOutputFormat (formatWav);
        project().setEmbedCover (true);
        project().setReplayGain (true);
        project().setWritePlaylist (true);
        WizardTest::TearDown();
    }

    /** A rip of three songs of different loudness up to the format page, in the album folder
        "Artist - Album". */
    void ripToFormatPage (const juce::String& artist = "Artist", const juce::String& album = "Album")
    {
        project().artist = artist;
        project().album = album;
        project().year = "1977";
        project().genre = "Rock";
        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, 2);
        dialogs.answer ("Yes");
        next();
        ASSERT_EQ (MainComponent::currentPage, 3);
        albumFolder = juce::File (project().captureFolder);

        const double levels[] = { -12.0, -24.0, -6.0 };
        for (int i = 1; i <= 3; ++i)
        {
            const auto file = albumFolder.getChildFile ("Track" + juce::String (i) + ".wav");
            songs.push_back (song (levels[i - 1], 220.0 * i));
            writeAudio (file, rate, 16, songs.back());
            project().addTrack (file.getFullPathName(), formatWav);
        }

        next();
        next();
        ASSERT_EQ (MainComponent::currentPage, formatPage);
    }

    juce::File finished (int number, const juce::String& extension) const
    {
        return albumFolder.getChildFile ("0" + juce::String (number) + " - Artist - Track" + juce::String (number) +
                                         extension);
    }

    juce::File cover (juce::ImageFileFormat& format, const juce::String& name)
    {
        const auto file = root.getChildFile (name);
        const auto bytes = pictureBytes (format);
        file.replaceWithData (bytes.getData(), bytes.getSize());
        return file;
    }

    /** The album's tracks against loudgain on the same files, within 0.1 dB; for lossless files
        the peaks are the songs' own largest samples. */
    void expectReplayGain (const juce::Array<juce::File>& files, bool lossless)
    {
        const auto reference = loudgain (files);
        ASSERT_EQ (reference.gains.size(), (size_t) files.size() + 1) << reference.output;
        juce::String albumGain, albumPeak;

        for (int i = 0; i < files.size(); ++i)
        {
            const auto& file = files.getReference (i);
            SCOPED_TRACE (file.getFileName().toStdString());
            const auto ours = mutagenExtras (file);
            ASSERT_TRUE (ours.error.isEmpty()) << ours.error;

            const auto gain = ours.replayGain["replaygain_track_gain"];
            const auto peak = ours.replayGain["replaygain_track_peak"];
            EXPECT_TRUE (std::regex_match (gain.toStdString(), std::regex ("-?[0-9]+\\.[0-9]{2} dB"))) << gain;
            EXPECT_TRUE (std::regex_match (peak.toStdString(), std::regex ("[0-9]\\.[0-9]{6}"))) << peak;

            const auto [theirGain, theirTruePeak] = reference.gains.at (file.getFullPathName());
            EXPECT_NEAR (gain.getDoubleValue(), theirGain, 0.1) << reference.output;

            // loudgain gives the true peak between the samples, of what it decodes; for these
            // low tones it hardly differs from the sample peak.
            if (lossless)
            {
                EXPECT_NEAR (peak.getDoubleValue(), peakOf (songs[(size_t) i]), 0.000001);
                EXPECT_LE (peak.getDoubleValue(), theirTruePeak * 1.001);
            }
            else
            {
                EXPECT_NEAR (peak.getDoubleValue(), theirTruePeak, theirTruePeak * 0.03);
            }

            // The album's values are the same in every file.
            if (i == 0)
            {
                albumGain = ours.replayGain["replaygain_album_gain"];
                albumPeak = ours.replayGain["replaygain_album_peak"];
            }
            EXPECT_EQ (ours.replayGain["replaygain_album_gain"], albumGain);
            EXPECT_EQ (ours.replayGain["replaygain_album_peak"], albumPeak);
        }

        EXPECT_NEAR (albumGain.getDoubleValue(), reference.gains.at ("Album").first, 0.1) << reference.output;
        double loudest = 0.0;
        for (const auto& samples : songs)
            loudest = juce::jmax (loudest, peakOf (samples));
        if (lossless)
        {
            EXPECT_NEAR (albumPeak.getDoubleValue(), loudest, 0.000001);
        }
    }

    /** The playlist's lines, word for word. */
    void expectPlaylist (const juce::File& playlist, const juce::String& extension)
    {
        ASSERT_TRUE (playlist.existsAsFile());
        juce::StringArray expected{ "#EXTM3U" };
        for (int i = 1; i <= 3; ++i)
        {
            expected.add ("#EXTINF:2,Artist - Track" + juce::String (i));
            expected.add (finished (i, extension).getFileName());
        }
        EXPECT_EQ (juce::StringArray::fromLines (playlist.loadFileAsString().trimEnd()), expected);
    }

    static juce::String extrasFailure (const juce::StringArray& lines)
    {
        juce::String message ("Can't add to the finished files !\nLeaving them as they are:\n");
        for (const auto& line : lines)
            message << "\n" << line;
        return message;
    }

    juce::File root, albumFolder;
    std::vector<Channels> songs;
};

//==============================================================================
struct Finish
{
    int format;
    const char* extension;
    bool lossless;
};

void PrintTo (const Finish& finish, std::ostream* stream)
{
    *stream << finish.extension;
}

class AlbumExtrasFormats : public AlbumExtrasRun, public ::testing::WithParamInterface<Finish>
{
};
} // namespace

TEST_P (AlbumExtrasFormats, theFilesHoldTheCoverAndTheirReplayGainAndAPlaylistListsThem)
{
    const auto [format, extension, lossless] = GetParam();
    if (format == formatMp3Lame)
    {
        REQUIRE_LAME_LIBRARY();
    }

    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    // A PNG picture under a JPEG name: its MIME type is taken from what it is.
    juce::PNGImageFormat png;
    project().frontCover = cover (png, "my scan.jpg");
    juce::MemoryBlock coverBytes;
    ASSERT_TRUE (project().frontCover.loadFileAsData (coverBytes));
    project().setOutputFormat (format);
    const auto alertsBefore = dialogs.alerts().size();

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray (juce::Array<juce::String>{
                                          finished (1, extension).getFileName(), finished (2, extension).getFileName(),
                                          finished (3, extension).getFileName(), "Album.m3u8", "Front.jpg" }));

    juce::Array<juce::File> files;
    for (int i = 1; i <= 3; ++i)
    {
        const auto file = finished (i, extension);
        SCOPED_TRACE (file.getFileName().toStdString());
        files.add (file);

        // One front cover, byte for byte the user's, as mutagen and TagLib read it.
        const auto read = mutagenExtras (file);
        ASSERT_TRUE (read.error.isEmpty()) << read.error;
        ASSERT_EQ (read.pictures.size(), 1u);
        EXPECT_EQ (read.pictures[0].type, 3);
        EXPECT_EQ (read.pictures[0].mimeType, "image/png");
        EXPECT_TRUE (read.pictures[0].bytes == coverBytes);

        const auto ours = tagLibPictures (file, format);
        ASSERT_EQ (ours.size(), 1u);
        EXPECT_EQ (ours[0].type, 3);
        EXPECT_EQ (ours[0].mimeType, "image/png");
        EXPECT_TRUE (ours[0].bytes == coverBytes);

        // The run's own tags are still there.
        EXPECT_EQ (tagLibTags (file).title, "Track" + juce::String (i));
        EXPECT_EQ (tagLibTags (file).track, (unsigned int) i);
    }

    expectReplayGain (files, lossless);
    expectPlaylist (albumFolder.getChildFile ("Album.m3u8"), extension);
}

INSTANTIATE_TEST_SUITE_P (FlacOggAndMp3, AlbumExtrasFormats,
                          ::testing::Values (Finish{ formatFlac, ".flac", true }, Finish{ formatOgg, ".ogg", false },
                                             Finish{ formatMp3Lame, ".mp3", false }),
                          [] (const auto& info) { return juce::String (info.param.extension + 1).toStdString(); });

TEST_F (AlbumExtrasRun, wavAndAiffFilesGetNoPictureButThePlaylistListsThem)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    juce::JPEGImageFormat jpeg;
    project().frontCover = cover (jpeg, "front.jpg");
    project().setOutputFormat (formatAiff);
    const auto alertsBefore = dialogs.alerts().size();

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (dialogs.alerts().size(), alertsBefore);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.aiff", "02 - Artist - Track2.aiff",
                                                           "03 - Artist - Track3.aiff", "Album.m3u8", "Front.jpg" }));
    for (int i = 1; i <= 3; ++i)
    {
        const auto read = mutagenExtras (finished (i, ".aiff"));
        EXPECT_TRUE (read.error.isEmpty()) << read.error;
        EXPECT_TRUE (read.pictures.empty());
        EXPECT_EQ (read.replayGain.size(), 0);
        // Nothing but the sound: the converted samples, untouched.
        EXPECT_EQ (difference (songs[(size_t) i - 1], readAudio (finished (i, ".aiff")).samples), "");
    }
    expectPlaylist (albumFolder.getChildFile ("Album.m3u8"), ".aiff");
}

TEST_F (AlbumExtrasRun, wavOutputKeepsTheRecordingsAsTheyWereAndListsThem)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    juce::StringArray contents;
    for (int i = 1; i <= 3; ++i)
        contents.add (albumFolder.getChildFile ("Track" + juce::String (i) + ".wav").loadFileAsString());
    juce::JPEGImageFormat jpeg;
    project().frontCover = cover (jpeg, "front.jpg");

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    for (int i = 1; i <= 3; ++i)
        EXPECT_EQ (finished (i, ".wav").loadFileAsString(), contents[i - 1]);
    expectPlaylist (albumFolder.getChildFile ("Album.m3u8"), ".wav");
}

TEST_F (AlbumExtrasRun, withTheTogglesOffTheFilesAreAsTheRunMakesThem)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    juce::JPEGImageFormat jpeg;
    project().frontCover = cover (jpeg, "front.jpg");
    project().setOutputFormat (formatFlac);
    project().setEmbedCover (false);
    project().setReplayGain (false);
    project().setWritePlaylist (false);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (albumFolder), juce::StringArray ({ "01 - Artist - Track1.flac", "02 - Artist - Track2.flac",
                                                           "03 - Artist - Track3.flac", "Front.jpg" }));
    for (int i = 1; i <= 3; ++i)
    {
        const auto read = mutagenExtras (finished (i, ".flac"));
        EXPECT_TRUE (read.error.isEmpty()) << read.error;
        EXPECT_TRUE (read.pictures.empty());
        EXPECT_EQ (read.replayGain.size(), 0);
        EXPECT_EQ (tagLibTags (finished (i, ".flac")).title, "Track" + juce::String (i));
    }
}

TEST_F (AlbumExtrasRun, theToggleThatIsOnWorksAlone)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage ("", "Solo"));
    EXPECT_EQ (albumFolder, root.getChildFile ("Solo"));
    juce::JPEGImageFormat jpeg;
    project().frontCover = cover (jpeg, "front.jpg");
    project().setOutputFormat (formatOgg);
    project().setEmbedCover (false);
    project().setWritePlaylist (false);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_EQ (namesIn (albumFolder),
               juce::StringArray ({ "01 - Track1.ogg", "02 - Track2.ogg", "03 - Track3.ogg", "Front.jpg" }));
    const auto read = mutagenExtras (albumFolder.getChildFile ("02 - Track2.ogg"));
    EXPECT_TRUE (read.pictures.empty());
    EXPECT_TRUE (read.replayGain.containsKey ("replaygain_track_gain"));
    EXPECT_TRUE (read.replayGain.containsKey ("replaygain_album_peak"));
}

TEST_F (AlbumExtrasRun, whatCouldNotBeAddedIsListedInTheRunsLastMessage)
{
    // An encode of two files to FLAC: a WAV file, and a "FLAC" file that is none, which the run
    // takes as already finished. The cover is no picture.
    const auto mine = root.getChildFile ("my music");
    mine.createDirectory();
    const auto wav = mine.getChildFile ("one.wav");
    songs.push_back (song (-12.0, 330.0));
    writeAudio (wav, rate, 16, songs.back());
    const auto broken = mine.getChildFile ("two.flac");
    broken.replaceWithText ("no audio at all");
    const auto fakeCover = root.getChildFile ("cover.jpg");
    fakeCover.replaceWithText ("<html>not a picture</html>");

    click (wizard->projectPage->encodeButton);
    next();
    ASSERT_EQ (MainComponent::currentPage, 4);
    project().addTrack (wav.getFullPathName(), formatWav);
    project().addTrack (broken.getFullPathName(), formatFlac);
    next();
    ASSERT_EQ (MainComponent::currentPage, formatPage);
    project().frontCover = fakeCover;
    project().setOutputFormat (formatFlac);

    next(); // no destination: the files go to the root folder

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto alert = dialogs.alerts()[0];
    EXPECT_EQ (alert.title, "Groove Smith : Error");
    EXPECT_EQ (alert.icon, juce::MessageBoxIconType::WarningIcon);
    EXPECT_EQ (alert.message,
               extrasFailure ({ fakeCover.getFullPathName() + " : Cover inside the files",
                                root.getChildFile ("02 - two.flac").getFullPathName() + " : ReplayGain" }));

    // The broken file is as it was; the good one has its gains, the playlist lists both.
    EXPECT_EQ (root.getChildFile ("02 - two.flac").loadFileAsString(), "no audio at all");
    const auto good = mutagenExtras (root.getChildFile ("01 - one.flac"));
    EXPECT_TRUE (good.pictures.empty());
    EXPECT_TRUE (good.replayGain.containsKey ("replaygain_album_gain"));
    EXPECT_EQ (juce::StringArray::fromLines (root.getChildFile ("Playlist.m3u8").loadFileAsString().trimEnd()),
               juce::StringArray ({ "#EXTM3U", "#EXTINF:2,one", "01 - one.flac", "#EXTINF:-1,two", "02 - two.flac" }));
}

TEST_F (AlbumExtrasRun, aRunThatFailsCarriesWhatCouldNotBeAddedBelowItsOwnMessage)
{
    ASSERT_NO_FATAL_FAILURE (ripToFormatPage());
    const auto vanished = albumFolder.getChildFile ("Track2.wav");
    vanished.deleteFile();
    const auto fakeCover = root.getChildFile ("cover.png");
    fakeCover.replaceWithText ("not a picture either");
    project().frontCover = fakeCover;
    project().setOutputFormat (formatFlac);

    next();

    EXPECT_EQ (MainComponent::currentPage, formatPage);
    ASSERT_FALSE (dialogs.alerts().empty());
    EXPECT_EQ (dialogs.alerts().back().message,
               "Can't convert audio files !\nLeavings wav files as is:\n\n" + vanished.getFullPathName() + "\n\n" +
                   extrasFailure ({ fakeCover.getFullPathName() + " : Cover inside the files" }));

    // The album is not through: no album gain and no playlist yet, the tracks have their own gain.
    EXPECT_FALSE (albumFolder.getChildFile ("Album.m3u8").exists());
    const auto read = mutagenExtras (finished (1, ".flac"));
    EXPECT_TRUE (read.replayGain.containsKey ("replaygain_track_gain"));
    EXPECT_FALSE (read.replayGain.containsKey ("replaygain_album_gain"));
}

TEST_F (AlbumExtrasRun, flacFilesAlreadyInFlacAreReadOnceForTheirGain)
{
    const auto mine = root.getChildFile ("my music");
    mine.createDirectory();
    juce::Array<juce::File> sources;
    const double levels[] = { -10.0, -20.0 };
    for (int i = 0; i < 2; ++i)
    {
        sources.add (mine.getChildFile ("song " + juce::String (i + 1) + ".flac"));
        songs.push_back (song (levels[i], 300.0 + 100.0 * i));
        writeAudio (sources.getLast(), rate, 16, songs.back());
    }

    click (wizard->projectPage->encodeButton);
    next();
    juce::StringArray paths;
    for (const auto& file : sources)
        paths.add (file.getFullPathName());
    wizard->filesDropped (paths, 40, 40);
    next();
    ASSERT_EQ (MainComponent::currentPage, formatPage);
    project().album = "Mine";
    juce::JPEGImageFormat jpeg;
    project().frontCover = cover (jpeg, "front.jpg");
    project().setOutputFormat (formatFlac);

    next();

    EXPECT_EQ (MainComponent::currentPage, finalPage);
    EXPECT_TRUE (dialogs.alerts().empty());
    const juce::Array<juce::File> files{ root.getChildFile ("01 - song 1.flac"),
                                         root.getChildFile ("02 - song 2.flac") };
    expectReplayGain (files, true);
    for (const auto& file : files)
        EXPECT_EQ (mutagenExtras (file).pictures.size(), 1u);
    EXPECT_EQ (juce::StringArray::fromLines (root.getChildFile ("Mine.m3u8").loadFileAsString().trimEnd()),
               juce::StringArray (
                   { "#EXTM3U", "#EXTINF:2,song 1", "01 - song 1.flac", "#EXTINF:2,song 2", "02 - song 2.flac" }));
}
