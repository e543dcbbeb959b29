#pragma once

#include "project/LanguageStrings.h"
#include "project/Track.h"

#include <juce_audio_devices/juce_audio_devices.h>
#include <juce_data_structures/juce_data_structures.h>

#include <memory>
#include <vector>

class AudioReader;

/**
    The program's one state object: the audio device manager, the keeper of the settings file,
    the track list, the album data, the translator of every shown text, and the mailbox of flags
    between the pages and the audio callback.

    Fields are plain, as the pages, the capture engine and the workers share them; every
    setting has a typed setter that writes the field and the settings file together.
*/
class Project : public juce::AudioDeviceManager
{
public:
    Project();
    ~Project() override;

    /** Where the settings live: "Tonewell/Groovesmith.settings" in the user's configuration folder. */
    static juce::File settingsFileLocation();

    /** The LAME library used when the settings name none. */
    static juce::File defaultLameLibrary();

    /** The folder of the running program, where language files and the LAME library may sit. */
    static juce::File programFolder();

    //==============================================================================
    // Settings, each written through to the settings file.
    void setPreamp (bool value);
    void setRootDirectory (const juce::String& value);
    void setOutputFormat (int value);
    void setLameLibrary (const juce::File& value);
    void setThreshold (int value);
    void setSilenceLength (int value);
    void setMinSilence (int value);
    void setLameVbr (bool value);
    void setLameQuality (int value);
    void setKeepWaves (bool value);
    void setAddTrackNumbers (bool value);

    /** The finished album's extras, beyond the files and their tags: the front cover inside each
        file, ReplayGain, and a playlist. Each is on unless the user turned it off. */
    void setEmbedCover (bool value);
    void setReplayGain (bool value);
    void setWritePlaylist (bool value);

    void setCaptureFolder (const juce::String& value) { captureFolder = value; }

    /** The settings file itself, for tests and the save on exit. */
    juce::PropertiesFile& getSettings() { return *settings; }

    //==============================================================================
    /** A shown text in the user's language; the English text is the key. */
    juce::String translate (const juce::String& text) const;

    bool usesItunes() const;

    /** The quality as a fragment of a LAME command line: " -V2 " or " -b192 ". */
    juce::String lameArguments() const;

    //==============================================================================
    // The sound preview, fed by the audio callback and drained by the meter timer.
    juce::Array<float> takeWaveformSamples();
    void addWaveformSamples (const float* values, int count);

    void setLevelPair (float left, float right);

    /** The displayed levels: they rise at once and fall by a fixed ratio at each call. */
    static float* smoothedLevels (const float* newLevels);
    float* smoothedLevels() { return smoothedLevels (levelPair.get()); }

    /** Brings the displayed levels back to zero, as at the start of the process. The program
        never calls it, since the levels outlive runs; tests do, so that each one starts from rest. */
    static void resetSmoothedLevels();

    //==============================================================================
    // The audio device.
    void openAudioDevice();
    void saveDeviceSettings();
    void resetDeviceSettings();

    /** The framework's device types, and the desktop's sound sources by their names. */
    void createAudioDeviceTypes (juce::OwnedArray<juce::AudioIODeviceType>& types) override;

    //==============================================================================
    // Flags between the capture page and the audio callback.
    bool setCalibrationRequested (bool value);
    void startCalibrating();
    bool takeNextTrackRequested();

    //==============================================================================
    // The track list.
    int trackCount() const;
    juce::String trackPath (int index) const;
    juce::String trackName (int index) const;
    void setTrackPath (int index, const juce::String& path);
    int trackFormat (int index) const;
    int setTrack (int index, int format, const juce::String& path);
    int indexOfTrack (const juce::String& path) const;
    bool containsTrack (const juce::String& path) const;
    bool addTrack (const juce::String& path, int format);
    bool insertTrack (int index, const juce::String& path, int format);
    void removeTrackNamed (const juce::String& path);
    void removeTrackAt (int index);
    void clearTracks();
    void deleteTrack (int index);
    void removeTracks (juce::SparseSet<int> rows);
    void deleteTracks (juce::SparseSet<int> rows, bool deleteFiles);
    void deleteAllTracks (bool notify);
    void addTemporaryFile (const juce::String& path);
    std::vector<juce::String> temporaryFileList() const;

    //==============================================================================
    // Files brought in, a new capture, and the saved track list of an encode project.

    /** Adds a file the user brought in: WAV, Ogg, FLAC and AIFF as they are, MP3 and M4A
        through a WAV file made at a place the user picks; anything else is ignored. */
    void addTrackFile (const juce::String& path);

    /** Empties the list (the files stay) and starts the next capture in the root folder. */
    void resetForNewCapture();

    /** Album, artist, year and genre become empty, and neither cover is chosen any more. */
    void clearAlbumData();

    /** "Tonewell/Groovesmith/tracklist.gsp" in the user's documents folder. */
    static juce::File savedTrackListFile();

    bool savedTrackListExists() const;

    /** Writes the list's paths, one a line, ending in CR LF. */
    void saveTrackList();

    /** Adds the saved tracks that exist; deletes the file when all of them did. */
    bool loadSavedTrackList();

    bool deleteSavedTrackList();

    //==============================================================================
    Project* self = this;

    juce::String captureFolder;
    juce::String rootDirectory;
    int lastWrittenTrack = 0;
    juce::Array<float> waveformSamples;
    std::vector<Track> tracks;
    std::vector<juce::String> temporaryFiles;
    bool preamp = false;
    int threshold = -55;
    int silenceLength = 15;
    int minSilence = 2;
    bool captureRunning = false;
    bool captureStarted = false;
    int deviceId = 0;
    int outputFormat = formatWav;
    std::unique_ptr<float[]> levelPair;
    int projectType = ripProject;
    int firstTrackPending = -1;
    AudioReader* audioReader = nullptr;
    juce::String album, artist, year, genre;
    juce::File frontCover, backCover;
    std::unique_ptr<juce::CriticalSection> lock;
    juce::File lameLibrary;
    bool lameVbr = true;
    int lameQuality = 2;
    bool rumbleOn = true;
    int encodingTrackNumber = 0;
    std::unique_ptr<LanguageStrings> strings;
    bool calibrationRequested = false;
    bool calibrating = false;
    juce::String encodingDestination;
    bool keepWaves = false;
    bool addTrackNumbers = true;
    int trackCounter = 0;
    int captureRuns = 0; // capture runs since the last new capture: the last side's number
    bool echoOn = false;
    bool nextTrackRequested = false;
    bool intermediateConversion = false;
    bool embedCover = true;
    bool replayGain = true;
    bool writePlaylist = true;

private:
    bool readBool (const juce::String& key, bool fallback) const;
    int readInt (const juce::String& key, int fallback) const;
    void showSuccess (const juce::String& message) const;

    std::unique_ptr<juce::PropertiesFile> settings;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (Project)
};
