#include "editing/StreamingThread.h"

#include "project/WorkerWindow.h"

StreamingThread::StreamingThread (const juce::String& title)
    : juce::ThreadWithProgressWindow (title, true, true, workerCancellingTimeOutMs, workerCancelText),
      transport (std::make_unique<juce::AudioTransportSource>()),
      formatManager (std::make_unique<juce::AudioFormatManager>())
{
    formatManager->registerBasicFormats();
}

StreamingThread::~StreamingThread()
{
    stopThread (workerCancellingTimeOutMs);
    releaseReading();
}

void StreamingThread::releaseReading()
{
    transport->setSource (nullptr);
    readerSource.reset();
    reader = nullptr;
}
