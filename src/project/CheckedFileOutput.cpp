#include "project/CheckedFileOutput.h"

std::unique_ptr<CheckedFileOutput> CheckedFileOutput::open (const juce::File& file, size_t bufferSize,
                                                            WriteOutcome& outcome)
{
    auto stream = file.createOutputStream (bufferSize);

    if (stream == nullptr || stream->failedToOpen())
        return {};

    return std::unique_ptr<CheckedFileOutput> (new CheckedFileOutput (file, std::move (stream), outcome));
}

CheckedFileOutput::CheckedFileOutput (const juce::File& fileToWrite, std::unique_ptr<juce::FileOutputStream> stream,
                                      WriteOutcome& outcomeToTell)
    : file (fileToWrite),
      output (std::move (stream)),
      outcome (outcomeToTell),
      end (output->getPosition())
{
}

CheckedFileOutput::~CheckedFileOutput()
{
    // The stream's last buffer goes out as it closes, and nothing reports whether it did: the
    // size of the closed file does.
    output->flush();
    if (! output->getStatus().wasOk())
        outcome.failed = true;

    output.reset();

    if (file.getSize() < end)
        outcome.failed = true;
}

void CheckedFileOutput::flush()
{
    output->flush();
    if (! output->getStatus().wasOk())
        outcome.failed = true;
}

bool CheckedFileOutput::setPosition (juce::int64 position)
{
    const bool moved = output->setPosition (position);
    if (! output->getStatus().wasOk())
        outcome.failed = true;
    return moved;
}

juce::int64 CheckedFileOutput::getPosition()
{
    return output->getPosition();
}

bool CheckedFileOutput::write (const void* data, size_t bytes)
{
    const bool written = output->write (data, bytes);

    if (! written)
        outcome.failed = true;

    end = juce::jmax (end, output->getPosition());
    return written;
}
