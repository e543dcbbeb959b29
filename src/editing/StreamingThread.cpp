#include "editing/StreamingThread.h"

StreamingThread::StreamingThread (const juce::String& title)
    : juce::ThreadWithProgressWindow (title, true, true, 10000, "Cancel"),
      transport (std::make_unique<juce::AudioTransportSource>()),
      formatManager (std::make_unique<juce::AudioFormatManager>())
{
    formatManager->registerBasicFormats();
}

StreamingThread::~StreamingThread()
{
    stopThread (10000);
    releaseReading();
}

void StreamingThread::releaseReading()
{
    transport->setSource (nullptr);
    readerSource.reset();
    reader = nullptr;
}
