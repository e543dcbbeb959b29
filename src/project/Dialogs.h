#pragma once

#include <juce_gui_basics/juce_gui_basics.h>

#include <functional>
#include <mutex>
#include <vector>

/** One button of a modal alert: its text, the value the alert returns for it, and its key. */
struct DialogButton
{
    juce::String text;
    int result = 0;
    juce::KeyPress shortcut;
};

/**
    Lets the message thread take back an alert that another thread asked and waits for. The
    message thread must never wait for a thread that waits for it: before it does (before it
    joins or leaves the audio device, say), it withdraws what that thread asked. A withdrawn alert
    is closed if it is showing and never shown if it is not yet; the asking thread returns at
    once with 0, as if Escape had been pressed. Until `allow` is called, every later alert asked
    with the same object returns 0 at once as well, so that the asking thread cannot begin a new
    wait in the instant after the withdrawal. Withdrawals nest: two threads that each withdraw
    and then allow leave alerts refused until both have allowed them again.
*/
class AlertWithdrawal
{
public:
    AlertWithdrawal() = default;

    /** Takes back the alert being waited for, if any, and refuses later ones. Any thread. */
    void withdraw();

    /** Ends one withdrawal; alerts may be asked again once every withdrawal has ended. */
    void allow();

    bool isWithdrawn() const;

    /** True while a thread waits for an alert asked with this object. */
    bool isWaiting() const;

    /** For implementations of the seam: registers the wait of one alert, with what releases it.
        False, and nothing registered, when alerts are withdrawn. */
    bool beginWait (std::function<void()> release);

    /** The wait registered by `beginWait` is over. */
    void endWait();

private:
    mutable std::mutex mutex;
    int withdrawals = 0;
    std::function<void()> releaseWait;

    JUCE_DECLARE_NON_COPYABLE (AlertWithdrawal)
};

/** Everything a modal alert shows. Text fields come back holding what the user typed. */
struct AlertRequest
{
    juce::MessageBoxIconType icon = juce::MessageBoxIconType::NoIcon;
    juce::String title;
    juce::String message;
    std::vector<DialogButton> buttons;

    juce::StringArray fieldNames;  // text editors, in order
    juce::StringArray fieldLabels; // the caption above each editor
    juce::StringArray fieldValues; // initial texts in, typed texts out
    int focusedField = -1;         // the field that has the keyboard focus when the box opens, Tab going on
                                   // to the button bound to Return; -1: the box decides
    bool multiLineFields = false;  // fields of several lines: Return starts a new line, Tab leaves the field

    juce::String textBlock; // a block of text below the message
    juce::String linkText;  // a hyperlink shown as a custom component
    juce::URL linkUrl;
    juce::Rectangle<int> linkBounds;

    AlertWithdrawal* withdrawal = nullptr; // lets the message thread take back an alert asked off it
};

/** A file or folder chooser. */
struct FileRequest
{
    enum class Mode
    {
        openFile,
        saveFile,
        directory
    };

    Mode mode = Mode::openFile;
    juce::String title;
    juce::File initial;
    juce::String filter;
    bool warnAboutOverwriting = false;
};

/**
    The one way the program opens a modal window: alerts, questions, text-field windows, file
    choosers and dialogs with a component of their own. The program installs nothing and gets
    the real JUCE windows; tests install an implementation that answers from a script and
    records what was asked.
*/
class Dialogs
{
public:
    virtual ~Dialogs() = default;

    /** Shows the alert modally and returns the result of the button that closed it. May be
        called from any thread: off the message thread the caller waits for the answer, or until
        the request's `withdrawal` takes the alert back, or the program is quitting (then 0). */
    virtual int runAlert (AlertRequest& request) = 0;

    /** Shows a chooser; true and the chosen file when the user confirmed, false on cancel. */
    virtual bool chooseFile (const FileRequest& request, juce::File& chosen) = 0;

    /** Shows a chooser in which several files can be picked to open; true and the chosen
        files when the user confirmed, false on cancel. */
    virtual bool chooseFiles (const FileRequest& request, juce::Array<juce::File>& chosen) = 0;

    /** Shows `content` in a modal dialog window and returns when it is closed. */
    virtual void runDialog (const juce::String& title, juce::Component& content, juce::Component* centreAround,
                            juce::Colour background) = 0;

    /** Opens an address in the user's browser. */
    virtual void openUrl (const juce::URL& url) = 0;

    /** The seam in force. */
    static Dialogs& get();

    /** Replaces the seam (not owned); nullptr brings back the real windows. */
    static void install (Dialogs* replacement);
};

/** The program's one error box: warning icon, "Groove Smith : Error", button "ok". */
void showError (const juce::String& message);

/** A box with one button, bound to the return key. `withdrawal`, when given, lets the message
    thread take the box back from a thread that waits for it. */
void showMessage (juce::MessageBoxIconType icon, const juce::String& title, const juce::String& message,
                  const juce::String& buttonText, AlertWithdrawal* withdrawal = nullptr);

/** Three buttons; 1 for the first, 2 for the second, 0 for the third (or Escape). */
int showYesNoCancel (juce::MessageBoxIconType icon, const juce::String& title, const juce::String& message,
                     const juce::String& first = "Yes", const juce::String& second = "No",
                     const juce::String& third = "Cancel");

/** OK and Cancel; true for OK. */
bool showOkCancel (juce::MessageBoxIconType icon, const juce::String& title, const juce::String& message,
                   const juce::String& okText = "OK", const juce::String& cancelText = "Cancel");
