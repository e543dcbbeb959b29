#include "encoding/ItunesMissing.h"

#include "project/Dialogs.h"
#include "project/Project.h"

const char* const itunesDownloadUrl = "https://www.apple.com/itunes/";

void showItunesMissing (Project* project)
{
    AlertRequest request;
    request.icon = juce::MessageBoxIconType::QuestionIcon;
    request.title = project->translate ("Itunes not found");
    request.linkText = project->translate ("Itunes Download page");
    request.linkUrl = juce::URL (itunesDownloadUrl);
    request.linkBounds = { 10, 230, 200, 24 };
    request.textBlock = project->translate ("Itunes is not installed - Please get Itunes");
    request.buttons.push_back ({ project->translate ("ok"), 0, juce::KeyPress (juce::KeyPress::returnKey) });
    Dialogs::get().runAlert (request);
}
