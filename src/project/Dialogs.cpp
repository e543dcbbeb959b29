#include "project/Dialogs.h"

namespace
{
/** The real windows of JUCE. */
class JuceDialogs final : public Dialogs
{
public:
    int runAlert (AlertRequest& request) override
    {
        if (juce::MessageManager::getInstance()->isThisTheMessageThread())
            return runAlertHere (request);

        // From another thread (the audio callback), the box runs on the message thread and the
        // caller waits until the user has answered.
        juce::WaitableEvent answered;
        int result = 0;
        juce::MessageManager::callAsync (
            [&]
            {
                result = runAlertHere (request);
                answered.signal();
            });
        answered.wait();
        return result;
    }

    bool chooseFile (const FileRequest& request, juce::File& chosen) override
    {
        juce::FileChooser chooser (request.title, request.initial, request.filter, true);
        bool ok = false;

        switch (request.mode)
        {
            case FileRequest::Mode::openFile:
                ok = chooser.browseForFileToOpen();
                break;
            case FileRequest::Mode::saveFile:
                ok = chooser.browseForFileToSave (request.warnAboutOverwriting);
                break;
            case FileRequest::Mode::directory:
                ok = chooser.browseForDirectory();
                break;
        }

        if (ok)
            chosen = chooser.getResult();

        return ok;
    }

    bool chooseFiles (const FileRequest& request, juce::Array<juce::File>& chosen) override
    {
        juce::FileChooser chooser (request.title, request.initial, request.filter, true);

        if (! chooser.browseForMultipleFilesToOpen())
            return false;

        chosen = chooser.getResults();
        return true;
    }

    void runDialog (const juce::String& title, juce::Component& content, juce::Component* centreAround,
                    juce::Colour background) override
    {
        juce::DialogWindow::showModalDialog (title, &content, centreAround, background, true, false, false);
    }

    void openUrl (const juce::URL& url) override { url.launchInDefaultBrowser(); }

private:
    static int runAlertHere (AlertRequest& request)
    {
        juce::AlertWindow window (request.title, request.message, request.icon);

        for (int i = 0; i < request.fieldNames.size(); ++i)
            window.addTextEditor (request.fieldNames[i], request.fieldValues[i], request.fieldLabels[i]);

        std::unique_ptr<juce::HyperlinkButton> link;
        if (request.linkText.isNotEmpty())
        {
            link = std::make_unique<juce::HyperlinkButton> (request.linkText, request.linkUrl);
            link->setBounds (request.linkBounds);
            window.addCustomComponent (link.get());
        }

        if (request.textBlock.isNotEmpty())
            window.addTextBlock (request.textBlock);

        for (const auto& button : request.buttons)
            window.addButton (button.text, button.result, button.shortcut);

        const int result = window.runModalLoop();

        for (int i = 0; i < request.fieldNames.size(); ++i)
            request.fieldValues.set (i, window.getTextEditorContents (request.fieldNames[i]));

        if (link != nullptr)
            window.removeCustomComponent (0);

        return result;
    }
};

Dialogs* installed = nullptr;
} // namespace

Dialogs& Dialogs::get()
{
    static JuceDialogs real;
    return installed != nullptr ? *installed : real;
}

void Dialogs::install (Dialogs* replacement)
{
    installed = replacement;
}

void showMessage (juce::MessageBoxIconType icon, const juce::String& title, const juce::String& message,
                  const juce::String& buttonText)
{
    AlertRequest request;
    request.icon = icon;
    request.title = title;
    request.message = message;
    request.buttons.push_back ({ buttonText, 0, juce::KeyPress (juce::KeyPress::returnKey) });
    Dialogs::get().runAlert (request);
}

void showError (const juce::String& message)
{
    showMessage (juce::MessageBoxIconType::WarningIcon, "Groove Smith : Error", message, "ok");
}

int showYesNoCancel (juce::MessageBoxIconType icon, const juce::String& title, const juce::String& message,
                     const juce::String& first, const juce::String& second, const juce::String& third)
{
    AlertRequest request;
    request.icon = icon;
    request.title = title;
    request.message = message;
    request.buttons.push_back ({ first, 1, juce::KeyPress (juce::KeyPress::returnKey) });
    request.buttons.push_back ({ second, 2, {} });
    request.buttons.push_back ({ third, 0, juce::KeyPress (juce::KeyPress::escapeKey) });
    return Dialogs::get().runAlert (request);
}

bool showOkCancel (juce::MessageBoxIconType icon, const juce::String& title, const juce::String& message,
                   const juce::String& okText, const juce::String& cancelText)
{
    AlertRequest request;
    request.icon = icon;
    request.title = title;
    request.message = message;
    request.buttons.push_back ({ okText, 1, juce::KeyPress (juce::KeyPress::returnKey) });
    request.buttons.push_back ({ cancelText, 0, juce::KeyPress (juce::KeyPress::escapeKey) });
    return Dialogs::get().runAlert (request) != 0;
}
