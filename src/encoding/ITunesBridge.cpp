#include "encoding/ITunesBridge.h"

#include "encoding/AlbumFiles.h"
#include "project/Dialogs.h"
#include "project/Project.h"

ITunesBridge::ITunesBridge()
{
    // There is no iTunes automation on this platform: the connection fails at once.
    state = -1;
}

void ITunesBridge::hideWindow() {}

std::unique_ptr<ITunesBridge> ITunesBridge::withEncoderFor (int format)
{
    auto bridge = std::make_unique<ITunesBridge>();
    hideWindow();

    if (bridge->prepareEncoder (format) == -1)
    {
        bridge->restoreEncoder();
        return nullptr;
    }

    hideWindow();
    return bridge;
}

int ITunesBridge::prepareEncoder (int)
{
    return state == -1 ? -1 : 0;
}

int ITunesBridge::convertFile (const juce::String&, const juce::String&)
{
    return -1;
}

int ITunesBridge::restoreEncoder()
{
    return state == -1 ? -1 : 0;
}

int ITunesBridge::addToLibrary (const juce::String&, Project*)
{
    return -1;
}

juce::String ITunesBridge::moveToFinalName (const juce::String& path, Project* project)
{
    const juce::File file (path);
    if (! file.existsAsFile())
    {
        showError (project->translate ("Can't find track"));
        return {};
    }

    const auto separator = juce::File::getSeparatorString();
    // A step towards another format keeps its plain name.
    auto newPath =
        file.getParentDirectory().getFullPathName() + separator +
        AlbumFiles::finalFileName (*project, file.getFileNameWithoutExtension(), project->encodingTrackNumber,
                                   file.getFileExtension(), ! project->intermediateConversion);

    if (project->encodingDestination.isNotEmpty())
        newPath = project->encodingDestination + separator + juce::File (newPath).getFileName();

    if (file.moveFileTo (juce::File (newPath)))
        return newPath;

    showError (project->translate ("An error occured when trying to move the track"));
    return {};
}
