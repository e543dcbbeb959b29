#include "project/Project.h"

#include "project/Dialogs.h"
#include "project/PipeWireDeviceType.h"
#include "project/PipeWireRate.h"
#include "project/SettingsFileGuard.h"

namespace
{
const char* const lameLibraryName =
#if JUCE_WINDOWS
    "lame_enc.dll";
#else
    "libmp3lame.so.0";
#endif

/** True for a whole decimal number that fits an int, such as "-55" or "2". */
bool isWholeNumber (const juce::String& text)
{
    const auto digits = text.startsWithChar ('-') || text.startsWithChar ('+') ? text.substring (1) : text;
    if (digits.isEmpty() || digits.length() > 10 || ! digits.containsOnly ("0123456789"))
        return false;

    const auto value = text.getLargeIntValue();
    return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

/** The displayed left and right levels, the meter's memory for the whole process. */
float shownLevels[2] = { 0.0f, 0.0f };
} // namespace

Project::Project()
    : levelPair (new float[2]{ 0.0f, 0.0f }),
      lock (std::make_unique<juce::CriticalSection>())
{
    juce::PropertiesFile::Options options;
    options.applicationName = "Groovesmith";
    options.filenameSuffix = "settings";
    options.folderName = "Tonewell";
    options.commonToAllUsers = false;
    options.ignoreCaseOfKeyNames = true;
    options.storageFormat = juce::PropertiesFile::storeAsXML;
    options.millisecondsBeforeSaving = 500;
    settings = std::make_unique<juce::PropertiesFile> (SettingsFileGuard::makeSafe (settingsFileLocation()), options);

    preamp = readBool ("preamp", false);
    rootDirectory = settings->getValue ("rootdir");
    if (rootDirectory.isEmpty())
        rootDirectory = juce::File::getSpecialLocation (juce::File::userDocumentsDirectory).getFullPathName();
    captureFolder = rootDirectory;
    encodingDestination = {};

    deviceId = readInt ("deviceid", 0);
    outputFormat = readInt ("outputformat", formatWav);
    lameLibrary = settings->containsKey ("lame") ? juce::File (settings->getValue ("lame")) : defaultLameLibrary();

    const auto language = settings->getValue ("lang", "en");
    strings = std::make_unique<LanguageStrings> (programFolder().getChildFile ("lang-" + language + ".txt"), false);

    threshold = readInt ("threshold", -55);
    silenceLength = readInt ("silencelength", 15);
    minSilence = readInt ("minsilence", 2);

    // The capture's files are best at 44100 Hz (FLAC, Ogg and AIFF are marked so): the desktop's
    // sound server is asked for that rate before the device is opened.
    PipeWireRate::askFor (44100);
    openAudioDevice();

    lameVbr = readBool ("lame_vbr", true);
    lameQuality = readInt ("lame_quality", 2);
    keepWaves = readBool ("keep_waves", false);
    addTrackNumbers = readBool ("add_track_num", true);
    embedCover = readBool ("embed_cover", true);
    replayGain = readBool ("replaygain", true);
    writePlaylist = readBool ("playlist", true);
}

Project::~Project()
{
    tracks.clear();
    removeAllChangeListeners();
    settings->saveIfNeeded();
}

juce::File Project::settingsFileLocation()
{
    return juce::File::getSpecialLocation (juce::File::userApplicationDataDirectory)
        .getChildFile ("Tonewell")
        .getChildFile ("Groovesmith.settings");
}

juce::File Project::programFolder()
{
#if JUCE_LINUX
    // Started by name through the link on the PATH, the framework would take that name for a file
    // in the current folder; the system knows the real file.
    const juce::File runningProgram ("/proc/self/exe");
    if (runningProgram.isSymbolicLink())
        return runningProgram.getLinkedTarget().getParentDirectory();
#endif
    return juce::File::getSpecialLocation (juce::File::currentExecutableFile).getParentDirectory();
}

juce::File Project::defaultLameLibrary()
{
    const auto besideProgram = programFolder().getChildFile (lameLibraryName);
    if (besideProgram.existsAsFile())
        return besideProgram;

#if JUCE_LINUX || JUCE_BSD
    for (const auto* folder :
         { "/usr/lib/x86_64-linux-gnu", "/usr/lib/aarch64-linux-gnu", "/usr/lib64", "/usr/lib", "/usr/local/lib" })
    {
        const auto candidate = juce::File (folder).getChildFile (lameLibraryName);
        if (candidate.existsAsFile())
            return candidate;
    }
#endif

    return besideProgram;
}

bool Project::readBool (const juce::String& key, bool fallback) const
{
    if (! settings->containsKey (key))
        return fallback;

    const auto text = settings->getValue (key).trim();
    if (text == "1" || text.equalsIgnoreCase ("true"))
        return true;
    if (text == "0" || text.equalsIgnoreCase ("false"))
        return false;

    return fallback;
}

int Project::readInt (const juce::String& key, int fallback) const
{
    if (! settings->containsKey (key))
        return fallback;

    const auto text = settings->getValue (key).trim();
    return isWholeNumber (text) ? text.getIntValue() : fallback;
}

//==============================================================================
void Project::setPreamp (bool value)
{
    preamp = value;
    settings->setValue ("preamp", value);
}

void Project::setRootDirectory (const juce::String& value)
{
    rootDirectory = value;
    settings->setValue ("rootdir", value);
}

void Project::setOutputFormat (int value)
{
    outputFormat = value;
    settings->setValue ("outputformat", value);
}

void Project::setLameLibrary (const juce::File& value)
{
    lameLibrary = value;
    if (value.existsAsFile())
        settings->setValue ("lame", value.getFullPathName());
}

void Project::setThreshold (int value)
{
    threshold = value;
    settings->setValue ("threshold", value);
}

void Project::setSilenceLength (int value)
{
    silenceLength = value;
    settings->setValue ("silencelength", value);
}

void Project::setMinSilence (int value)
{
    minSilence = value;
    settings->setValue ("minsilence", value);
}

void Project::setLameVbr (bool value)
{
    lameVbr = value;
    settings->setValue ("lame_vbr", value);
}

void Project::setLameQuality (int value)
{
    lameQuality = value;
    settings->setValue ("lame_quality", value);
}

void Project::setKeepWaves (bool value)
{
    keepWaves = value;
    settings->setValue ("keep_waves", value);
}

void Project::setAddTrackNumbers (bool value)
{
    addTrackNumbers = value;
    settings->setValue ("add_track_num", value);
}

void Project::setEmbedCover (bool value)
{
    embedCover = value;
    settings->setValue ("embed_cover", value);
}

void Project::setReplayGain (bool value)
{
    replayGain = value;
    settings->setValue ("replaygain", value);
}

void Project::setWritePlaylist (bool value)
{
    writePlaylist = value;
    settings->setValue ("playlist", value);
}

//==============================================================================
juce::String Project::translate (const juce::String& text) const
{
    return strings != nullptr ? strings->translate (text) : text;
}

bool Project::usesItunes() const
{
    return outputFormat == formatAacItunes || outputFormat == formatAppleLosslessItunes ||
           outputFormat == formatMp3Itunes;
}

juce::String Project::lameArguments() const
{
    return lameVbr ? " -V" + juce::String (lameQuality % 10) + " " : " -b" + juce::String (lameQuality) + " ";
}

//==============================================================================
juce::Array<float> Project::takeWaveformSamples()
{
    const juce::ScopedLock sl (*lock);
    juce::Array<float> result (waveformSamples);
    waveformSamples.clearQuick();
    return result;
}

void Project::addWaveformSamples (const float* values, int count)
{
    if (count < 1)
        return;

    const juce::ScopedLock sl (*lock);
    waveformSamples.addArray (values, count);
}

void Project::setLevelPair (float left, float right)
{
    levelPair[0] = left;
    levelPair[1] = right;
}

float* Project::smoothedLevels (const float* newLevels)
{
    auto* shown = shownLevels;
    // The fall ratio as the program has always computed it: 1.23 in single precision, and the
    // whole step in doubles, the difference included, rounded to a float only when stored.
    const double ratio = static_cast<double> (1.23f);

    for (int channel = 0; channel < 2; ++channel)
    {
        const double incoming = newLevels[channel];
        const double held = shown[channel];
        if (held < incoming)
            shown[channel] = newLevels[channel];
        else
            shown[channel] = static_cast<float> (incoming + (held - incoming) / ratio);
    }

    return shown;
}

void Project::resetSmoothedLevels()
{
    shownLevels[0] = 0.0f;
    shownLevels[1] = 0.0f;
}

//==============================================================================
void Project::openAudioDevice()
{
    std::unique_ptr<juce::XmlElement> state;
    if (settings->containsKey ("devicesettings"))
        state = settings->getXmlValue ("devicesettings");

    initialise (2, 2, state.get(), true, {}, nullptr);

    // The default of the first kind of device that has any (ALSA's, on a desktop the sound
    // server's default source) may not open: a sound server that is installed but not running,
    // say. Then the first kind whose default device opens serves, a running JACK server perhaps.
    if (getCurrentAudioDevice() == nullptr)
    {
        const auto failedType = getCurrentAudioDeviceType();
        for (auto* type : getAvailableDeviceTypes())
        {
            if (type->getTypeName() == failedType || type->getDeviceNames (true).isEmpty())
                continue;

            setCurrentAudioDeviceType (type->getTypeName(), true);
            if (getCurrentAudioDevice() != nullptr)
                break;
        }
    }
}

void Project::createAudioDeviceTypes (juce::OwnedArray<juce::AudioIODeviceType>& types)
{
    juce::AudioDeviceManager::createAudioDeviceTypes (types);
#if JUCE_LINUX || JUCE_BSD
    types.add (new PipeWireDeviceType());
#endif
}

void Project::saveDeviceSettings()
{
    if (auto state = createStateXml())
        settings->setValue ("devicesettings", state.get());
}

void Project::resetDeviceSettings()
{
    if (settings->containsKey ("devicesettings"))
        settings->removeValue ("devicesettings");
}

//==============================================================================
bool Project::setCalibrationRequested (bool value)
{
    const bool previous = calibrationRequested;
    calibrationRequested = value;
    return previous;
}

void Project::startCalibrating()
{
    calibrationRequested = false;
    calibrating = true;
}

bool Project::takeNextTrackRequested()
{
    const bool requested = nextTrackRequested;
    nextTrackRequested = false;
    return requested;
}
