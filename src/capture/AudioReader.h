#pragma once

#include <juce_audio_devices/juce_audio_devices.h>
#include <juce_audio_formats/juce_audio_formats.h>
#include <juce_audio_utils/juce_audio_utils.h>

#include <memory>

class Project;

/**
    Plays one audio file through the sound card, at the file's own rate, for the track page's
    preview. The owner makes a new reader for every file it plays and polls it for position and
    end of play; nothing is reported and nothing is filtered on the way.
*/
class AudioReader : public juce::ActionBroadcaster, public juce::AudioIODeviceCallback
{
public:
    /** Detaches any earlier player and the capture engine from the device manager. */
    explicit AudioReader (Project* project);

    /** Stops the sound and lets go of the device, the file and the player. */
    ~AudioReader() override;

    void audioDeviceIOCallbackWithContext (const float* const* inputChannelData, int numInputChannels,
                                           float* const* outputChannelData, int numOutputChannels, int numSamples,
                                           const juce::AudioIODeviceCallbackContext& context) override;
    void audioDeviceAboutToStart (juce::AudioIODevice* device) override;
    void audioDeviceStopped() override;

    /** Starts playing a file from a position in samples. An unreadable file plays nothing, silently. */
    void play (juce::File file, double positionInSamples);

    bool isPlaying() const;
    void stop();
    void releaseResources();

    /** Stops and closes the file it was playing; the reader stays, ready for another file. */
    void releaseFile();

    /** Positions and length count in the file's own samples, whatever rate the device runs at. */
    void setPosition (double samples);
    juce::int64 getPosition() const;
    double getTotalLength() const;

    /**
        Pauses, or resumes what was paused. The resume hands the paused position, counted in
        samples, to an operation that counts in seconds: the owner keeps its own copy of the
        position where it needs the real one.
    */
    void togglePause();

    /** The rate of the file last started, 44100 before any. */
    double getSampleRate() const { return sampleRate; }

    /** A mark for the owner, which sets and reads it; playing does not depend on it. */
    bool isPaused() const { return paused; }
    void setPaused (bool shouldBePaused) { paused = shouldBePaused; }

    /** Where the pause was made, in samples; -1.0 when not paused. */
    double getPausePosition() const { return pausePosition; }

    /** How many players exist in the process; each one made is deleted exactly once by its owner. */
    static int instanceCount();

private:
    struct ReadAheadThread;

    void tearDown();

    /** Lets go of the file: the transport's source, the read-ahead and the reader. */
    void dropSource();

    /** Waits until the read-ahead holds the sound from the play position on, as the transport's
        preparation does for the start of the file. */
    void waitForReadAhead();

    std::unique_ptr<juce::AudioSourcePlayer> player;
    std::unique_ptr<juce::AudioTransportSource> transport;
    std::unique_ptr<juce::AudioFormatReaderSource> source;
    juce::AudioFormatReader* reader = nullptr; // owned by source
    std::unique_ptr<juce::AudioFormatManager> formatManager;
    std::unique_ptr<juce::SharedResourcePointer<ReadAheadThread>> readAhead;
    std::unique_ptr<juce::BufferingAudioSource> buffered; // reads `source` ahead on `readAhead`
    bool prepared = false;
    Project* project;
    bool paused = false;
    double sampleRate = 44100.0;
    double deviceRate = 44100.0; // the rate the device last started at
    double pausePosition = -1.0;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (AudioReader)
};
