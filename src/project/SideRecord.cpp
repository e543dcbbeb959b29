#include "project/SideRecord.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <algorithm>

namespace
{
constexpr const char* firstLine = "Groove Smith side record 1";

// A record is a few lines a track: anything much larger is not one.
constexpr juce::int64 largestRecord = 4 * 1024 * 1024;

// The records are read, changed and written again by the capture's writer and by the message
// thread: one at a time.
juce::CriticalSection& recordFilesLock()
{
    static juce::CriticalSection lock;
    return lock;
}

juce::String escapePath (const juce::String& path)
{
    return path.replace ("\\", "\\\\").replace ("\n", "\\n").replace ("\r", "\\r");
}

juce::String unescapePath (const juce::String& text)
{
    juce::String result;
    result.preallocateBytes (text.getNumBytesAsUTF8());

    for (auto p = text.getCharPointer(); ! p.isEmpty();)
    {
        const auto c = p.getAndAdvance();
        if (c != '\\' || p.isEmpty())
        {
            result += c;
            continue;
        }

        const auto next = p.getAndAdvance();
        result += next == 'n' ? juce::juce_wchar ('\n') : next == 'r' ? juce::juce_wchar ('\r') : next;
    }

    return result;
}

/** A whole number of at most 18 digits, or -1. */
juce::int64 parseCount (const juce::String& text)
{
    if (text.isEmpty() || text.length() > 18 || ! text.containsOnly ("0123456789"))
        return -1;
    return text.getLargeIntValue();
}

bool parseYesNo (const juce::String& text, bool fallback)
{
    return text == "yes" ? true : text == "no" ? false : fallback;
}

/** The number k of Side<k> in a file's name, or 0. */
int sideNumberOf (const juce::File& file)
{
    const auto name = file.getFileNameWithoutExtension();
    if (! name.startsWith ("Side"))
        return 0;
    const auto digits = name.substring (4);
    return digits.isNotEmpty() && digits.length() < 9 && digits.containsOnly ("0123456789") ? digits.getIntValue() : 0;
}
} // namespace

SideRecord::SideRecord (const juce::File& sideFileToUse, int rate)
    : sideFile (sideFileToUse),
      sampleRate (rate)
{
}

int SideRecord::getSideNumber() const
{
    return sideNumberOf (sideFile);
}

juce::File SideRecord::recordFileFor (const juce::File& side)
{
    return side.withFileExtension (recordEnding);
}

juce::File SideRecord::nextFreeSideFile (const juce::File& folder, int& number)
{
    number = juce::jmax (1, number);

    for (;; ++number)
    {
        const auto side = folder.getChildFile ("Side" + juce::String (number) + ".wav");
        if (! side.exists() && ! recordFileFor (side).exists())
            return side;
    }
}

const SideRecord::Place* SideRecord::placeOf (const juce::String& trackPath) const
{
    for (const auto& place : places)
        if (place.path == trackPath)
            return &place;
    return nullptr;
}

void SideRecord::sortPlaces()
{
    std::stable_sort (places.begin(), places.end(), [] (const Place& a, const Place& b) { return a.first < b.first; });
}

void SideRecord::setPlace (const Place& place)
{
    places.erase (std::remove_if (places.begin(), places.end(),
                                  [&place] (const Place& other) { return other.path == place.path; }),
                  places.end());
    places.push_back (place);
    sortPlaces();
}

bool SideRecord::canBeCutAgain() const
{
    if (! whole || ! sideFile.existsAsFile())
        return false;

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (
        wav.createReaderFor (sideFile.createInputStream().release(), true));
    if (reader == nullptr || reader->numChannels != 2 || reader->bitsPerSample != 16)
        return false;

    for (const auto& place : places)
        if (place.first < 0 || place.length < 0 || place.first + place.length > reader->lengthInSamples)
            return false;

    return true;
}

bool SideRecord::replacePlaces (std::vector<Place> newPlaces)
{
    const juce::ScopedLock sl (recordFilesLock());

    places = std::move (newPlaces);
    sortPlaces();

    for (const auto& place : places)
        releaseTrack (place.path, getRecordFile());

    return save();
}

//==============================================================================
juce::String SideRecord::toText() const
{
    const auto folder = sideFile.getParentDirectory();

    juce::String text;
    text << firstLine << "\n";
    text << "side " << escapePath (sideFile.getFileName()) << "\n";
    text << "rate " << sampleRate << "\n";
    text << "whole " << (whole ? "yes" : "no") << "\n";
    text << "ended " << (ended ? "yes" : "no") << "\n";
    text << "samples " << sideSamples << "\n";

    for (const auto& place : places)
    {
        const juce::File track (place.path);
        const auto name = track.getParentDirectory() == folder ? track.getFileName() : place.path;
        text << "track " << place.first << " " << place.length << " " << escapePath (name) << "\n";
    }

    return text;
}

bool SideRecord::save() const
{
    const juce::ScopedLock sl (recordFilesLock());

    // Written beside the record and put in its place in one step: a record on the disk is always
    // a whole one, the old or the new.
    const auto target = getRecordFile();
    juce::TemporaryFile temporary (target);

    const auto text = toText();

    {
        // Unbuffered: the text goes to the system in one write, whose failure shows at once, and
        // nothing waits for the disk (the capture's writer saves records while it writes).
        juce::FileOutputStream stream (temporary.getFile(), 0);
        if (stream.failedToOpen() || ! stream.writeText (text, false, false, nullptr))
            return false;
    }

    // A disk that filled up may have taken part of it without a word.
    if (temporary.getFile().getSize() != (juce::int64) text.getNumBytesAsUTF8())
        return false;

    return temporary.overwriteTargetFileWithTemporary();
}

std::optional<SideRecord> SideRecord::load (const juce::File& recordFile)
{
    if (! recordFile.existsAsFile() || recordFile.getSize() > largestRecord)
        return std::nullopt;

    juce::MemoryBlock bytes;
    if (! recordFile.loadFileAsData (bytes))
        return std::nullopt;

    return parse (juce::String::fromUTF8 (static_cast<const char*> (bytes.getData()), (int) bytes.getSize()),
                  recordFile);
}

std::optional<SideRecord> SideRecord::parse (const juce::String& text, const juce::File& recordFile)
{
    juce::StringArray lines;
    lines.addLines (text);

    if (lines.isEmpty() || lines[0] != firstLine)
        return std::nullopt;

    const auto folder = recordFile.getParentDirectory();
    SideRecord record (recordFile.withFileExtension (".wav"), 0);

    for (int i = 1; i < lines.size(); ++i)
    {
        const auto& line = lines.getReference (i);
        const auto key = line.upToFirstOccurrenceOf (" ", false, false);
        const auto value = line.fromFirstOccurrenceOf (" ", false, false);

        // The side is always the WAV file of the record's own name; its line is there for a reader.
        if (key == "rate")
        {
            record.sampleRate = (int) juce::jlimit ((juce::int64) 0, (juce::int64) 10000000, parseCount (value));
        }
        else if (key == "whole")
        {
            record.whole = parseYesNo (value, false);
        }
        else if (key == "ended")
        {
            record.ended = parseYesNo (value, false);
        }
        else if (key == "samples")
        {
            record.sideSamples = juce::jmax ((juce::int64) 0, parseCount (value));
        }
        else if (key == "track")
        {
            const auto firstText = value.upToFirstOccurrenceOf (" ", false, false);
            const auto rest = value.fromFirstOccurrenceOf (" ", false, false);
            const auto lengthText = rest.upToFirstOccurrenceOf (" ", false, false);
            const auto name = unescapePath (rest.fromFirstOccurrenceOf (" ", false, false));
            const auto first = parseCount (firstText), length = parseCount (lengthText);

            if (first < 0 || length < 0 || name.isEmpty())
                continue;

            const auto path = juce::File::isAbsolutePath (name) ? juce::File (name).getFullPathName()
                                                                : folder.getChildFile (name).getFullPathName();
            record.setPlace ({ path, first, length });
        }
    }

    return record;
}

//==============================================================================
std::vector<SideRecord> SideRecord::recordsIn (const juce::File& folder)
{
    std::vector<SideRecord> records;
    if (! folder.isDirectory())
        return records;

    // Side<k>.tracks only: a left-over temporary file of an interrupted save is no record.
    for (const auto& file : folder.findChildFiles (juce::File::findFiles, false, juce::String ("Side*") + recordEnding))
        if (sideNumberOf (file) > 0)
            if (auto record = load (file))
                records.push_back (std::move (*record));

    return records;
}

std::optional<SideRecord> SideRecord::findFor (const juce::String& trackPath)
{
    if (trackPath.isEmpty())
        return std::nullopt;

    const juce::ScopedLock sl (recordFilesLock());

    std::optional<SideRecord> found;
    for (auto& record : recordsIn (juce::File (trackPath).getParentDirectory()))
        if (record.placeOf (trackPath) != nullptr && (! found || record.getSideNumber() > found->getSideNumber()))
            found = std::move (record);

    return found;
}

void SideRecord::followMove (const juce::String& oldPath, const juce::String& newPath)
{
    if (oldPath.isEmpty() || newPath.isEmpty() || oldPath == newPath)
        return;

    const juce::ScopedLock sl (recordFilesLock());

    juce::Array<juce::File> folders{ juce::File (oldPath).getParentDirectory() };
    folders.addIfNotAlreadyThere (juce::File (newPath).getParentDirectory());

    for (const auto& folder : folders)
    {
        for (auto& record : recordsIn (folder))
        {
            bool changed = false;
            std::vector<Place> kept;

            for (auto place : record.places)
            {
                // The file that was at the new path has been replaced by the moved one.
                if (place.path == newPath)
                {
                    changed = true;
                    continue;
                }

                if (place.path == oldPath)
                {
                    place.path = newPath;
                    changed = true;
                }

                kept.push_back (place);
            }

            if (changed)
            {
                record.places = std::move (kept);
                record.save();
            }
        }
    }
}

void SideRecord::releaseTrack (const juce::String& trackPath, const juce::File& keep)
{
    const juce::ScopedLock sl (recordFilesLock());

    for (auto& record : recordsIn (juce::File (trackPath).getParentDirectory()))
    {
        if (record.getRecordFile() == keep || record.placeOf (trackPath) == nullptr)
            continue;

        record.places.erase (std::remove_if (record.places.begin(), record.places.end(),
                                             [&trackPath] (const Place& place) { return place.path == trackPath; }),
                             record.places.end());
        record.save();
    }
}

int SideRecord::deleteSidesOf (const juce::StringArray& trackPaths)
{
    const juce::ScopedLock sl (recordFilesLock());

    juce::Array<juce::File> records;
    int deleted = 0;

    for (const auto& path : trackPaths)
    {
        const auto record = findFor (path);
        if (! record || records.contains (record->getRecordFile()))
            continue;

        records.add (record->getRecordFile());
        record->getSideFile().deleteFile();
        record->getRecordFile().deleteFile();
        ++deleted;
    }

    return deleted;
}
