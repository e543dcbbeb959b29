#pragma once

#include "app/Page.h"
#include "capture/PlaySlider.h"
#include "editing/TrackList.h"

#include <memory>

class AudioReader;

/**
    The track page: the track list, the filter toggles with their two sliders, the transport
    (play, pause, stop, seek) and the split button. A preview plays the ticked effects on a
    temporary copy of the track; Apply puts the processed copy in the track's place.

    The page owns the preview player and publishes it in the project's `audioReader`, so that
    the wizard can stop it on leaving the page; only the page deletes it.
*/
class Page2 : public Page, public juce::Button::Listener, public juce::Timer, public juce::ActionBroadcaster
{
public:
    Page2 (Project* project, juce::ActionListener* listener);
    ~Page2() override;

    void resized() override;
    void buttonClicked (juce::Button* button) override;
    void timerCallback() override;

    /** The list view reads the track list afresh. */
    void updateTrackList();

    /** Shows the buttons that fit the project type. */
    void updateButtonVisibility();

    /** The file to play or to apply for a row with these effects (-1: that filter is off): the
        track's own file when no effect is ticked, the last preview when nothing changed, and
        otherwise a processed temporary copy; none for a row that is not in the list. */
    juce::File prepareTrackFile (int row, int denoise, int declick, bool normalize);

    /** Ends the preview: a player that plays is told to end, and the timer winds it down; one
        that doesn't is deleted at once. */
    void endPreview();

    AudioReader* getReader() const { return reader; }
    bool isPlainPlay() const { return plainPlay; }
    double getPausePosition() const { return pausePosition; }
    int getPlayingRow() const { return playingRow; }
    double getReaderRate() const { return readerRate; }
    const juce::File& getPreviewFile() const { return previewFile; }
    const juce::File& getSourceFile() const { return sourceFile; }

    juce::GroupComponent trackListGroup{ "trackListgroup" };
    TrackList trackList;
    juce::GroupComponent effectGroup{ "effectgroup" };
    juce::ToggleButton denoiserToggle;
    juce::Slider denoiserSlider{ "DenoiserSld" };
    juce::ToggleButton declickerToggle;
    juce::Slider declickerSlider{ "DeclickerSld" };
    juce::ToggleButton normalizerToggle;
    juce::TextButton applyButton;
    juce::ToggleButton resampleToggle;
    juce::Label helpLabel{ "text" };
    juce::Label thresholdLabel{ "threshold" };
    juce::Label sensibilityLabel{ "sensibility" };
    juce::TextButton addButton;
    juce::TextButton newCaptureButton;
    juce::TextButton playButton;
    juce::TextButton stopButton;
    PlaySlider positionSlider{ "slider" };
    juce::TextButton splitButton;

private:
    /** The effects as ticked when a click begins: -1 for a filter that is off. */
    struct Effects
    {
        int denoise = -1;
        int declick = -1;
        bool normalize = false;
    };

    Effects readEffects() const;

    /** The flows of the buttons; true when the click ends at once, without its usual end. */
    bool playClicked (const Effects& effects);
    void stopClicked();
    bool splitClicked();
    void applyClicked (const Effects& effects);
    void addClicked();
    void newCaptureClicked();

    /** Starts the current row's file from `position` in samples; false when there is no file to play. */
    bool startPlaying (const Effects& effects, double position);

    /** The end of every click: the player published, the play button's face by the effects. */
    void endOfClick (const Effects& effects);

    /** The play button's resting text, by the kind of the last play. */
    void showRestingText();

    juce::File trackFile (int row) const;

    /** Whether the row holds the track that the transport plays or holds paused. */
    bool isPlayingTrack (int row) const;

    /** Moves the wizard to another page, as its buttons would. */
    void goToPage (int index);

    void makeReader();
    void deleteReader();

    /** The preview copy and the settings it was made from are forgotten: after the list's tracks
        were replaced, its row or its source file may hold other audio, and an Apply with the same
        settings would copy a stale preview over a new track. */
    void forgetPreview();

    /** Runs a copy or a move behind its progress window; true when it worked. */
    static bool copyFile (const juce::File& from, const juce::File& to, bool move);

    std::unique_ptr<AudioReader> ownedReader;
    AudioReader* reader = nullptr; // the slot the seek bar reads: always ownedReader's pointer
    int currentRow = -1;
    int playingRow = -1;
    juce::String playingTrack; // the path of the track that plays or is paused: rows move
    double pausePosition = -1.0;
    double readerRate = 44100.0;
    bool plainPlay = true;
    juce::File previewFile;
    juce::File sourceFile;
    bool lastResample = false;
    int lastDenoise = -1;
    int lastDeclick = -1;
    bool lastNormalize = false;
    int lastRow = -1;
};
