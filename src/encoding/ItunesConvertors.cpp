#include "encoding/ItunesConvertors.h"

#include "encoding/ITunesBridge.h"
#include "project/Project.h"

ItunesConvertorThread::ItunesConvertorThread (const juce::String& title, const juce::String& sourceToRead,
                                              const juce::String& destinationToWrite, Project* owner, bool withStatus)
    : ConvertorThread (title, sourceToRead, destinationToWrite, true),
      project (owner),
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

    auto bridge = ITunesBridge::withEncoderFor (format);

    if (bridge == nullptr)
    {
        result = false;
        return;
    }

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
