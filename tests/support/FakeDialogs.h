#pragma once

#include "project/Dialogs.h"

#include <deque>
#include <mutex>

/**
    The tests' dialogs: each alert is recorded and answered from a script, by the text of the
    button to press; file choosers take scripted files. What nothing scripted is answered with
    the first button, or a cancelled chooser. An alert whose withdrawal is in force returns 0
    and is not recorded, since the real windows would never show it.
*/
class FakeDialogs : public Dialogs
{
public:
    struct Alert
    {
        juce::MessageBoxIconType icon;
        juce::String title;
        juce::String message;
        juce::StringArray buttons;
        juce::StringArray fieldNames;
        juce::StringArray fieldLabels;
        juce::StringArray fieldValues; // as offered
        int focusedField = -1;
        bool multiLineFields = false;
        juce::String textBlock;
        juce::String linkText;
        juce::URL linkUrl;
        juce::Rectangle<int> linkBounds;
        juce::String answer; // the text of the button pressed
        bool onMessageThread = true;
    };

    struct Chooser
    {
        FileRequest request;
        bool confirmed = false;
        juce::File chosen;
        bool severalFiles = false;           // a chooser for several files to open
        juce::Array<juce::File> chosenFiles; // what such a chooser confirmed
    };

    struct ShownDialog
    {
        juce::String title;
        juce::Component* content = nullptr;
        juce::Rectangle<int> contentBounds;
        bool contentVisible = false;
        juce::Colour background;
    };

    FakeDialogs() { install (this); }
    ~FakeDialogs() override { install (nullptr); }

    /** The next alert is answered with the button of this text; field texts may be typed too. */
    void answer (const juce::String& buttonText, const juce::StringArray& typed = {});

    /** The next chooser confirms this file, or is cancelled when `file` is a default File. */
    void chooseNext (const juce::File& file);

    /** The next chooser for several files confirms these, or is cancelled when the list is empty. */
    void chooseNextFiles (const juce::Array<juce::File>& files);

    int runAlert (AlertRequest& request) override;
    bool chooseFile (const FileRequest& request, juce::File& chosen) override;
    bool chooseFiles (const FileRequest& request, juce::Array<juce::File>& chosen) override;
    void runDialog (const juce::String& title, juce::Component& content, juce::Component* centreAround,
                    juce::Colour background) override;
    void openUrl (const juce::URL& url) override;

    std::vector<Alert> alerts() const;
    std::vector<Chooser> choosers() const;
    std::vector<ShownDialog> dialogs() const;
    juce::StringArray openedUrls() const;

    /** Called after each alert is recorded, on the caller's thread. */
    std::function<void (const Alert&)> onAlert;

private:
    struct ScriptedAnswer
    {
        juce::String button;
        juce::StringArray typed;
    };

    mutable std::mutex mutex;
    std::deque<ScriptedAnswer> scriptedAnswers;
    std::deque<juce::File> scriptedFiles;
    std::deque<juce::Array<juce::File>> scriptedFileLists;
    std::vector<Alert> recordedAlerts;
    std::vector<Chooser> recordedChoosers;
    std::vector<ShownDialog> recordedDialogs;
    juce::StringArray urls;
};
