#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

void FakeDialogs::answer (const juce::String& buttonText, const juce::StringArray& typed)
{
    const std::lock_guard<std::mutex> guard (mutex);
    scriptedAnswers.push_back ({ buttonText, typed });
}

void FakeDialogs::chooseNext (const juce::File& file)
{
    const std::lock_guard<std::mutex> guard (mutex);
    scriptedFiles.push_back (file);
}

void FakeDialogs::chooseNextFiles (const juce::Array<juce::File>& files)
{
    const std::lock_guard<std::mutex> guard (mutex);
    scriptedFileLists.push_back (files);
}

int FakeDialogs::runAlert (AlertRequest& request)
{
    // As with the real windows, an alert taken back is never shown: it returns 0 at once.
    if (request.withdrawal != nullptr && request.withdrawal->isWithdrawn())
        return 0;

    Alert alert;
    alert.icon = request.icon;
    alert.title = request.title;
    alert.message = request.message;
    for (const auto& button : request.buttons)
        alert.buttons.add (button.text);
    alert.fieldNames = request.fieldNames;
    alert.fieldLabels = request.fieldLabels;
    alert.fieldValues = request.fieldValues;
    alert.focusedField = request.focusedField;
    alert.multiLineFields = request.multiLineFields;
    alert.textBlock = request.textBlock;
    alert.linkText = request.linkText;
    alert.linkUrl = request.linkUrl;
    alert.linkBounds = request.linkBounds;
    alert.onMessageThread = juce::MessageManager::getInstance()->isThisTheMessageThread();

    int result = request.buttons.empty() ? 0 : request.buttons.front().result;
    alert.answer = request.buttons.empty() ? juce::String() : request.buttons.front().text;

    {
        const std::lock_guard<std::mutex> guard (mutex);
        if (! scriptedAnswers.empty())
        {
            const auto scripted = scriptedAnswers.front();
            scriptedAnswers.pop_front();

            bool found = false;
            for (const auto& button : request.buttons)
            {
                if (button.text == scripted.button)
                {
                    result = button.result;
                    alert.answer = button.text;
                    found = true;
                }
            }
            EXPECT_TRUE (found) << "no button \"" << scripted.button << "\" in the alert \"" << request.title << "\"";

            for (int i = 0; i < scripted.typed.size() && i < request.fieldValues.size(); ++i)
                request.fieldValues.set (i, scripted.typed[i]);
        }
        recordedAlerts.push_back (alert);
    }

    if (onAlert)
        onAlert (alert);

    return result;
}

bool FakeDialogs::chooseFile (const FileRequest& request, juce::File& chosen)
{
    const std::lock_guard<std::mutex> guard (mutex);
    Chooser chooser;
    chooser.request = request;

    if (! scriptedFiles.empty())
    {
        chooser.chosen = scriptedFiles.front();
        chooser.confirmed = chooser.chosen != juce::File();
        scriptedFiles.pop_front();
    }

    recordedChoosers.push_back (chooser);
    if (chooser.confirmed)
        chosen = chooser.chosen;
    return chooser.confirmed;
}

bool FakeDialogs::chooseFiles (const FileRequest& request, juce::Array<juce::File>& chosen)
{
    const std::lock_guard<std::mutex> guard (mutex);
    Chooser chooser;
    chooser.request = request;
    chooser.severalFiles = true;

    if (! scriptedFileLists.empty())
    {
        chooser.chosenFiles = scriptedFileLists.front();
        chooser.confirmed = ! chooser.chosenFiles.isEmpty();
        scriptedFileLists.pop_front();
    }

    recordedChoosers.push_back (chooser);
    if (chooser.confirmed)
        chosen = chooser.chosenFiles;
    return chooser.confirmed;
}

void FakeDialogs::runDialog (const juce::String& title, juce::Component& content, juce::Component*,
                             juce::Colour background)
{
    const std::lock_guard<std::mutex> guard (mutex);
    recordedDialogs.push_back ({ title, &content, content.getBounds(), content.isVisible(), background });
}

void FakeDialogs::openUrl (const juce::URL& url)
{
    const std::lock_guard<std::mutex> guard (mutex);
    urls.add (url.toString (true));
}

std::vector<FakeDialogs::Alert> FakeDialogs::alerts() const
{
    const std::lock_guard<std::mutex> guard (mutex);
    return recordedAlerts;
}

std::vector<FakeDialogs::Chooser> FakeDialogs::choosers() const
{
    const std::lock_guard<std::mutex> guard (mutex);
    return recordedChoosers;
}

std::vector<FakeDialogs::ShownDialog> FakeDialogs::dialogs() const
{
    const std::lock_guard<std::mutex> guard (mutex);
    return recordedDialogs;
}

juce::StringArray FakeDialogs::openedUrls() const
{
    const std::lock_guard<std::mutex> guard (mutex);
    return urls;
}
