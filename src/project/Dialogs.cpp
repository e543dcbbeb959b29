#include "project/Dialogs.h"

namespace
{
/** An alert asked off the message thread. It is shown on the message thread and either answered
    there or withdrawn; the asking thread waits for `done`. The request is a copy, since a
    withdrawn asker may be gone before the message that would show it arrives. */
struct OffThreadAlert
{
    AlertRequest request;
    std::mutex mutex;
    bool withdrawn = false;
    bool finished = false;
    int result = 0;
    juce::Component::SafePointer<juce::AlertWindow> window;
    juce::WaitableEvent done;
};

/** The real windows of JUCE. */
class JuceDialogs final : public Dialogs
{
public:
    int runAlert (AlertRequest& request) override
    {
        if (juce::MessageManager::getInstance()->isThisTheMessageThread())
            return runAlertHere (request, {});

        // From another thread (the audio callback), the box runs on the message thread and the
        // caller waits until the user has answered, or until the box is taken back.
        auto alert = std::make_shared<OffThreadAlert>();
        alert->request = request;
        alert->request.withdrawal = nullptr;

        auto* withdrawal = request.withdrawal;
        if (withdrawal != nullptr && ! withdrawal->beginWait ([alert] { withdraw (alert); }))
            return 0;

        // Once the program is quitting, nothing posted reaches the message thread any more: the
        // box could never be shown, so it is not waited for.
        const bool posted = ! juce::MessageManager::getInstance()->hasStopMessageBeenSent() &&
                            juce::MessageManager::callAsync ([alert] { show (alert); });
        if (posted)
            alert->done.wait();

        if (withdrawal != nullptr)
            withdrawal->endWait();

        const std::lock_guard<std::mutex> guard (alert->mutex);
        if (! alert->finished)
            return 0;

        request.fieldValues = alert->request.fieldValues;
        return alert->result;
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
    /** On the message thread: the box of an alert asked off it, unless withdrawn first. */
    static void show (const std::shared_ptr<OffThreadAlert>& alert)
    {
        const int result = runAlertHere (alert->request,
                                         [&alert] (juce::AlertWindow& window)
                                         {
                                             const std::lock_guard<std::mutex> guard (alert->mutex);
                                             alert->window = &window;
                                             return ! alert->withdrawn;
                                         });
        {
            const std::lock_guard<std::mutex> guard (alert->mutex);
            alert->window = nullptr;
            if (! alert->withdrawn)
            {
                alert->finished = true;
                alert->result = result;
            }
        }
        alert->done.signal();
    }

    /** Any thread: releases the asking thread at once and closes the box if it is showing. */
    static void withdraw (const std::shared_ptr<OffThreadAlert>& alert)
    {
        {
            const std::lock_guard<std::mutex> guard (alert->mutex);
            if (alert->finished)
                return;
            alert->withdrawn = true;
        }
        alert->done.signal();

        const auto close = [alert]
        {
            const std::lock_guard<std::mutex> guard (alert->mutex);
            if (auto* window = alert->window.getComponent())
                window->exitModalState (0);
        };

        if (juce::MessageManager::getInstance()->isThisTheMessageThread())
            close();
        else
            juce::MessageManager::callAsync (close);
    }

    /** Runs the box modally on the message thread. `aboutToShow`, when given, sees the window
        before its modal loop begins and may refuse it (the result is then 0). */
    static int runAlertHere (AlertRequest& request, const std::function<bool (juce::AlertWindow&)>& aboutToShow)
    {
        juce::AlertWindow window (request.title, request.message, request.icon);
        std::vector<std::unique_ptr<juce::TextEditor>> multiLineEditors;
        std::vector<juce::TextEditor*> fields;

        for (int i = 0; i < request.fieldNames.size(); ++i)
        {
            if (request.multiLineFields)
            {
                // A box of its own size, its label above it as the window draws a custom
                // component's name; Return starts a new line, Escape still cancels.
                auto editor = std::make_unique<juce::TextEditor> (request.fieldLabels[i]);
                editor->setComponentID (request.fieldNames[i]);
                editor->setMultiLine (true, true);
                editor->setReturnKeyStartsNewLine (true);
                editor->setEscapeAndReturnKeysConsumed (false);
                editor->setScrollbarsShown (true);
                editor->setFont (window.getLookAndFeel().getAlertWindowMessageFont());
                editor->setColour (juce::TextEditor::outlineColourId,
                                   window.findColour (juce::ComboBox::outlineColourId));
                editor->setText (request.fieldValues[i], false);
                editor->setSize (multiLineFieldWidth, multiLineFieldHeight);
                window.addCustomComponent (editor.get());
                fields.push_back (editor.get());
                multiLineEditors.push_back (std::move (editor));
            }
            else
            {
                window.addTextEditor (request.fieldNames[i], request.fieldValues[i], request.fieldLabels[i]);
                fields.push_back (window.getTextEditor (request.fieldNames[i]));
            }
        }

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

        if (request.focusedField >= 0 && request.focusedField < (int) fields.size())
            focusFieldFirst (window, *fields[(size_t) request.focusedField]);

        const int result = aboutToShow == nullptr || aboutToShow (window) ? window.runModalLoop() : 0;

        for (int i = 0; i < request.fieldNames.size(); ++i)
            request.fieldValues.set (i, fields[(size_t) i]->getText());

        while (window.getNumCustomComponents() > 0)
            window.removeCustomComponent (0);

        return result;
    }

    /** The window gives the keyboard focus, as it opens, to the first component in focus order:
        the field comes first, then the button bound to Return, then the other buttons. */
    static void focusFieldFirst (juce::AlertWindow& window, juce::Component& field)
    {
        field.setExplicitFocusOrder (1);

        for (auto* child : window.getChildren())
            if (auto* button = dynamic_cast<juce::TextButton*> (child))
                button->setExplicitFocusOrder (
                    button->isRegisteredForShortcut (juce::KeyPress (juce::KeyPress::returnKey)) ? 2 : 3);
    }

    static constexpr int multiLineFieldWidth = 380;
    static constexpr int multiLineFieldHeight = 180;
};

Dialogs* installed = nullptr;
} // namespace

void AlertWithdrawal::withdraw()
{
    std::function<void()> release;
    {
        const std::lock_guard<std::mutex> guard (mutex);
        ++withdrawals;
        release = releaseWait;
    }

    if (release)
        release();
}

void AlertWithdrawal::allow()
{
    const std::lock_guard<std::mutex> guard (mutex);
    if (withdrawals > 0)
        --withdrawals;
}

bool AlertWithdrawal::isWithdrawn() const
{
    const std::lock_guard<std::mutex> guard (mutex);
    return withdrawals > 0;
}

bool AlertWithdrawal::isWaiting() const
{
    const std::lock_guard<std::mutex> guard (mutex);
    return releaseWait != nullptr;
}

bool AlertWithdrawal::beginWait (std::function<void()> release)
{
    const std::lock_guard<std::mutex> guard (mutex);
    if (withdrawals > 0)
        return false;
    releaseWait = std::move (release);
    return true;
}

void AlertWithdrawal::endWait()
{
    std::function<void()> release;
    {
        const std::lock_guard<std::mutex> guard (mutex);
        release.swap (releaseWait);
    }
}

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
                  const juce::String& buttonText, AlertWithdrawal* withdrawal)
{
    AlertRequest request;
    request.withdrawal = withdrawal;
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
