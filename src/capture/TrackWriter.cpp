#include "capture/TrackWriter.h"

#include "capture/DropoutLog.h"
#include "project/Int16Samples.h"

#include <atomic>

namespace
{
std::unique_ptr<TrackWriter>& instance()
{
    static std::unique_ptr<TrackWriter> writer;
    return writer;
}

// The track number that the last write went to, across writers.
int lastWriteTrackNumber = 0;

// The file being written, published for the thread that syncs it. The audio thread takes the
// lock only when it makes a file.
juce::SpinLock openFileLock;
TrackWriter::OpenFile openFileNow;

// At the latest, what waits in the buffer goes to the disk after this share of a second.
constexpr int commitsPerSecond = 2;

// The writer's file is shared by the audio thread, the thread that commits it when the writing
// pauses, and the message thread: one at a time. It also keeps the writer from going while it is
// being committed.
juce::CriticalSection& fileLock()
{
    static juce::CriticalSection lock;
    return lock;
}

// The audio thread said that the writing pauses.
std::atomic<bool> pauseSaid{ false };

// The writes seen by the last look for a pause.
int writesAtLastLook = -1;
} // namespace

TrackWriter::OpenFile TrackWriter::fileBeingWritten()
{
    const juce::SpinLock::ScopedLockType sl (openFileLock);
    return openFileNow;
}

TrackWriter* TrackWriter::getInstance (const juce::String& folder, int trackNumber, int sampleRate)
{
    auto& current = instance();

    if (current != nullptr)
    {
        if (folder.isEmpty() || folder == current->folder)
            return current.get();

        const juce::ScopedLock sl (fileLock());
        current.reset();
        current.reset (new TrackWriter (folder, trackNumber, sampleRate));
        return current.get();
    }

    if (sampleRate != 0)
    {
        const juce::ScopedLock sl (fileLock());
        current.reset (new TrackWriter (folder, trackNumber, sampleRate));
    }

    return current.get();
}

void TrackWriter::deleteInstance()
{
    const juce::ScopedLock sl (fileLock());
    instance().reset();
}

void TrackWriter::writingPaused()
{
    pauseSaid.store (true);
}

bool TrackWriter::commitIfPaused()
{
    const juce::ScopedLock sl (fileLock());

    auto* current = instance().get();
    const bool said = pauseSaid.exchange (false);
    if (current == nullptr || current->writer == nullptr || current->framesWaiting == 0)
    {
        writesAtLastLook = current != nullptr ? current->writes : -1;
        return false;
    }

    const bool paused = said || current->writes == writesAtLastLook;
    writesAtLastLook = current->writes;
    if (! paused)
        return false;

    current->commit();
    return true;
}

TrackWriter::TrackWriter (const juce::String& folderToUse, int firstTrackNumber, int rate)
    : trackNumber (juce::jmax (1, firstTrackNumber)),
      folder (folderToUse),
      sampleRate (rate)
{
}

TrackWriter::~TrackWriter()
{
    closeFile();
}

int TrackWriter::advance (int by)
{
    trackNumber += by;
    return trackNumber;
}

void TrackWriter::close()
{
    const juce::ScopedLock sl (fileLock());
    closeFile();
}

void TrackWriter::closeFile()
{
    // Deleting the writer completes the WAV header and closes its stream.
    writer.reset();
    stream = nullptr;
    bytesWaiting = 0;
    framesWaiting = 0;
}

void TrackWriter::commit()
{
    // The format writer's flush writes the header for what it has written: the stream writes out
    // its buffer when it moves back to the header, then the header, and comes back to the end.
    // It does not force the disk (no fsync), so it costs two writes and two seeks.
    writer->flush();
    bytesWaiting = 0;
    framesWaiting = 0;
}

bool TrackWriter::write (const float* const* channels, int numSamples)
{
    if (channels == nullptr || channels[0] == nullptr || channels[1] == nullptr)
        return false;

    const auto count = static_cast<size_t> (juce::jmax (0, numSamples));

    // Through 16 bits: this is where the capture clips.
    juce::HeapBlock<int16_t> left16 (count), right16 (count);
    floatsToInt16 (channels[0], left16.get(), numSamples);
    floatsToInt16 (channels[1], right16.get(), numSamples);

    // The format writer takes 32-bit left-justified integers, one null-terminated pointer list.
    juce::HeapBlock<int> left32 (count + 1), right32 (count + 1);
    for (size_t i = 0; i < count; ++i)
    {
        left32[i] = static_cast<int> (left16[i]) * 65536;
        right32[i] = static_cast<int> (right16[i]) * 65536;
    }
    const int* samples[3] = { left32.get(), right32.get(), nullptr };

    const juce::ScopedLock sl (fileLock());
    ++writes;

    if (writer == nullptr || lastWriteTrackNumber != trackNumber)
    {
        closeFile();
        writer = openFile();
        lastWriteTrackNumber = trackNumber;
    }

    bool written = false;
    if (writer != nullptr)
    {
        // The stream keeps a block in its buffer while it fits, and writes the buffer out when it
        // does not. The buffer goes out here instead, with its header, before it would overflow.
        const int bytes = numSamples * numChannels * (int) sizeof (int16_t);
        if (bytesWaiting > 0 && bytesWaiting + bytes >= streamBufferSize)
            commit();

        written = writer->write (samples, numSamples);
        bytesWaiting += bytes;
        framesWaiting += numSamples;

        // A block too big for the buffer went straight to the disk; and at a low rate the buffer
        // would hold audio for longer than the program may lose.
        if (bytesWaiting >= streamBufferSize || framesWaiting >= sampleRate / commitsPerSecond)
            commit();
    }

    samplesWritten += numSamples;
    return written;
}

std::unique_ptr<juce::FileOutputStream> TrackWriter::createStream (const juce::String& path)
{
    if (path != fileName)
    {
        file = std::make_unique<juce::File> (path);
        fileName = path;
    }

    // An earlier file of this name is replaced without asking, and its dropouts go with it.
    file->deleteFile();
    DropoutLog::forget (path);

    auto newStream = std::make_unique<juce::FileOutputStream> (*file, streamBufferSize);
    if (newStream->failedToOpen())
        return nullptr;

    return newStream;
}

std::unique_ptr<juce::AudioFormatWriter> TrackWriter::openFile()
{
    const auto separator = juce::File::getSeparatorString();

    auto newStream = createStream (folder + separator + "Track" + juce::String (trackNumber) + ".wav");
    openTrackNumber = trackNumber;

    // Track7 failing, Track07 is tried.
    if (newStream == nullptr)
        newStream = createStream (folder + separator + "Track0" + juce::String (trackNumber) + ".wav");

    if (newStream == nullptr)
        return nullptr;

    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> newWriter (
        wav.createWriterFor (newStream.get(), sampleRate, static_cast<unsigned int> (numChannels), 16, {}, 0));

    if (newWriter == nullptr)
        return nullptr;

    stream = newStream.release();
    samplesWritten = 0;

    // The header goes to the disk now: a file that exists is a WAV file from its first moment.
    newWriter->flush();
    bytesWaiting = 0;
    framesWaiting = 0;

    {
        const juce::SpinLock::ScopedLockType sl (openFileLock);
        openFileNow.path = fileName;
        ++openFileNow.generation;
    }

    return newWriter;
}
