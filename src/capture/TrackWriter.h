#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

#include <memory>

/**
    The WAV file being captured: Track<n>.wav in the capture folder, 16-bit stereo at the
    device's rate. One object serves the whole process; the audio callback writes each block
    through it, and a change of track number moves the next write to a new file.

    A killed program must leave a file that a player reads: the header of a new file goes to the
    disk at once, and whenever the stream's buffer goes to the disk (when it is full, and at the
    latest every half second) a header that covers it follows. What is on the disk is thus always
    a whole WAV file, short of at most the buffer. When the writing pauses (the track waits in a
    gap, the run waits for the "End Capture" answer, the device stops), another thread sends the
    buffer to the disk with its header (`commitIfPaused`), so that nothing waits in it for long.

    The audio thread, the thread that commits a paused file and the message thread (which closes
    the file at the end of a run) take turns on the file through one lock; the audio thread finds
    it taken only in the moment that a paused file is being committed.
*/
class TrackWriter
{
public:
    /** Makes or fetches the process's writer. With a writer in place, it is returned when
        `folder` is empty or the same as the writer's; another folder replaces the writer. With
        none, one is made unless `sampleRate` is 0, in which case the result is null. */
    static TrackWriter* getInstance (const juce::String& folder, int trackNumber, int sampleRate);

    /** Closes and deletes the process's writer, if any. */
    static void deleteInstance();

    ~TrackWriter();

    /** Moves the number of the next write on by `by`, and returns the new number. */
    int advance (int by);

    int getTrackNumber() const { return trackNumber; }
    void setTrackNumber (int newTrackNumber) { trackNumber = newTrackNumber; }
    juce::String getFileName() const { return fileName; }
    int getSamplesWritten() const { return samplesWritten; }
    juce::String getFolder() const { return folder; }

    /** An empty folder lets the next capture's folder replace this writer. */
    void setFolder (const juce::String& newFolder) { folder = newFolder; }

    /** True while a file is open for writing. */
    bool isFileOpen() const { return writer != nullptr; }

    /** Finishes the file being written, if any. The name of the last file is kept. */
    void close();

    /** Writes one block of two channels through 16 bits to the file of the current track
        number, opening that file first when needed. */
    bool write (const float* const* channels, int numSamples);

    /** The buffer of the file stream, in bytes. */
    static constexpr int streamBufferSize = 32768;

    /** The file that writes go to and a number that changes with every file made, so that
        another thread can tell a file made anew under the same name. */
    struct OpenFile
    {
        juce::String path;
        int generation = 0;
    };

    /** The file being written, for the thread that forces it onto the disk; any thread. */
    static OpenFile fileBeingWritten();

    /** Audio that waits in the stream's buffer for the disk, in sample frames. */
    int getFramesWaiting() const { return framesWaiting; }

    /** The audio thread has stopped writing for now: the track waits for sound, or the run for
        its end. The next `commitIfPaused` sends what waits to the disk. Audio thread. */
    static void writingPaused();

    /** When the file being written has audio waiting in the buffer and the writing has paused
        (said so, or no write came since the last call), sends it to the disk with its header.
        True when it did. Any thread but the audio thread. */
    static bool commitIfPaused();

private:
    TrackWriter (const juce::String& folder, int trackNumber, int sampleRate);

    std::unique_ptr<juce::AudioFormatWriter> openFile();
    std::unique_ptr<juce::FileOutputStream> createStream (const juce::String& path);

    /** Sends what waits in the stream's buffer to the disk, followed by a header that covers it. */
    void commit();

    void closeFile();

    int trackNumber = 1;
    int openTrackNumber = -1;
    juce::String folder;
    std::unique_ptr<juce::AudioFormatWriter> writer;
    int sampleRate = 0;
    int numChannels = 2;
    std::unique_ptr<juce::File> file;
    juce::FileOutputStream* stream = nullptr; // owned by `writer`
    juce::String fileName;
    int samplesWritten = 0;
    int bytesWaiting = 0;  // audio bytes in the stream's buffer, not yet on the disk
    int framesWaiting = 0; // the same, in sample frames
    int writes = 0;        // blocks written, so that a pause shows as none since the last look

    JUCE_DECLARE_NON_COPYABLE (TrackWriter)
};
