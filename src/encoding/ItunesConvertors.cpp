#include "encoding/ItunesConvertors.h"

#include "encoding/ITunesBridge.h"
#include "project/Project.h"

ItunesConvertorThread::ItunesConvertorThread (const juce::String& title, const juce::String& sourceToRead,
                                              const juce::String& destinationToWrite, Project* owner, bool withStatus)
    : juce::ThreadWithProgressWindow (title, true, true, convertorCancellingTimeOutMs, convertorCancelText),
      project (owner),
      source (sourceToRead),
      destination (destinationToWrite),
      format (owner->outputFormat),
      showsStatus (withStatus)
{
}

void ItunesConvertorThread::run()
{
    if (showsStatus)
        setStatusMessage ("Converting " + juce::File (source).getFileNameWithoutExtension());

    if (! result)
        return;

    auto bridge = std::make_unique<ITunesBridge>();
    ITunesBridge::hideWindow();

    if (bridge->prepareEncoder (format) == -1)
    {
        result = false;
        bridge->restoreEncoder();
        return;
    }

    ITunesBridge::hideWindow();
    // A failed conversion has told the user already; the run finds no file and goes on.
    if (bridge->convertFile (source, destination) == -1)
        return;

    ITunesBridge::hideWindow();
    destination = ITunesBridge::moveToFinalName (destination, project);
    if (destination.isEmpty())
        return;

    result = true;
    bridge->restoreEncoder();
    ITunesBridge::hideWindow();

    if (format != 1)
    {
        bridge->addToLibrary (destination, project);
        ITunesBridge::hideWindow();
    }
}

//==============================================================================
AacConvertorThread::AacConvertorThread (const juce::String& source, const juce::String& destination, Project* project)
    : ItunesConvertorThread (project->translate ("Converting to AAC..."), source, destination, project, false)
{
}

AppleLosslessConvertorThread::AppleLosslessConvertorThread (const juce::String& source, const juce::String& destination,
                                                            Project* project)
    : ItunesConvertorThread (project->translate ("Converting to Apple Lossless..."), source, destination, project,
                             false)
{
}

Mp3ConvertorThread::Mp3ConvertorThread (const juce::String& source, const juce::String& destination, Project* project)
    : ItunesConvertorThread (project->translate ("Converting to mp3..."), source, destination, project, true)
{
}

//==============================================================================
bool AacConvertor::convert (juce::String source, juce::String destination, Project* project)
{
    AacConvertorThread thread (source, destination, project);
    thread.runThread (juce::Thread::Priority::normal);
    return thread.result;
}

bool AppleLosslessConvertor::convert (juce::String source, juce::String destination, Project* project)
{
    AppleLosslessConvertorThread thread (source, destination, project);
    thread.runThread (juce::Thread::Priority::normal);
    return thread.result;
}

bool Mp3Convertor::convert (juce::String source, juce::String destination, Project* project)
{
    Mp3ConvertorThread thread (source, destination, project);
    thread.runThread (juce::Thread::Priority::normal);
    return thread.result;
}
