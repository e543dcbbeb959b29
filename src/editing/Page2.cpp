#include "editing/Page2.h"

#include "app/MainComponent.h"
#include "capture/Audio.h"
#include "capture/AudioReader.h"
#include "capture/TrackWriter.h"
#include "editing/CFilters.h"
#include "editing/ResamplerThread.h"
#include "editing/SplitThread.h"
#include "encoding/CopyMyFile.h"
#include "encoding/SaveElsewhere.h"
#include "encoding/WavConvertor.h"
#include "project/Dialogs.h"
#include "project/Project.h"

namespace
{
// The one speed correction offered: a record played at 45 rpm brought back to 33.
constexpr double resampleRatio = 0.74;

constexpr int transportTimerMs = 10;

void stopCapture()
{
    if (auto* audio = Audio::getInstance())
        audio->stop();
}

bool endsInWav (const juce::String& path)
{
    return path.endsWithIgnoreCase (".wav");
}

juce::String withWavEnding (const juce::String& path)
{
    return path.upToLastOccurrenceOf (".", false, false) + ".wav";
}
} // namespace

Page2::Page2 (Project* projectToUse, juce::ActionListener* listener)
    : Page ("Page2", projectToUse),
      trackList (projectToUse)
{
    addActionListener (listener);

    const auto tr = [this] (const char* text) { return project->translate (text); };

    trackListGroup.setText (tr ("Track List"));
    effectGroup.setText (tr ("Filters"));
    denoiserToggle.setButtonText (tr ("Denoiser"));
    denoiserToggle.setTooltip (tr ("Denoiser filter"));
    declickerToggle.setButtonText (tr ("Declicker"));
    declickerToggle.setTooltip (tr ("Declicker filter"));
    normalizerToggle.setButtonText (tr ("Normalizer"));
    normalizerToggle.setTooltip (tr ("Normalizer filter"));
    applyButton.setButtonText (tr ("Apply"));
    applyButton.setTooltip (tr ("Apply effects directly to the selected tracks"));
    resampleToggle.setButtonText (tr ("45 -> 33"));
    resampleToggle.setTooltip (tr ("Resample filter : restore a 33 rpm ripped at 45"));
    helpLabel.setText (tr ("Double click on a track to rename it. Right click on a track to access actions on it. You "
                           "may preview the selected effects on a track. Effects are applied on the selected tracks."),
                       juce::dontSendNotification);
    thresholdLabel.setText (tr ("Threshold"), juce::dontSendNotification);
    sensibilityLabel.setText (tr ("Sensibility"), juce::dontSendNotification);
    addButton.setButtonText (tr ("Add a track"));
    newCaptureButton.setButtonText (tr ("Do new capture"));
    newCaptureButton.setTooltip (tr ("Erase all tracks and start a new capture"));
    playButton.setButtonText (tr ("Play"));
    playButton.setTooltip (tr ("Click here to play the current track"));
    stopButton.setButtonText (tr ("stop"));
    stopButton.setTooltip (tr ("Click here to stop the current track playing"));
    positionSlider.setTooltip (tr ("Seek"));
    splitButton.setButtonText (tr ("^ Split here ^"));
    splitButton.setTooltip (tr ("split the current track at paused position"));
    updateButtonVisibility();

    // The small captions sit above their sliders and leave the mouse to them.
    for (auto* caption : { &thresholdLabel, &sensibilityLabel })
    {
        caption->setFont (juce::Font (10.0f));
        caption->setBorderSize ({});
        caption->setInterceptsMouseClicks (false, false);
    }

    for (auto* slider : { &denoiserSlider, &declickerSlider })
    {
        slider->setTextBoxStyle (juce::Slider::NoTextBox, false, 0, 0);
        slider->setRange (0.0, 100.0, 0.01);
        slider->setPopupDisplayEnabled (true, true, this);
        slider->setValue (0.0, juce::dontSendNotification);
    }

    positionSlider.setRange (0.0, 200.0, 0.0);
    positionSlider.setTextBoxStyle (juce::Slider::NoTextBox, false, 0, 0);
    positionSlider.setChangeNotificationOnlyOnRelease (true);
    positionSlider.setValue (0.0, juce::dontSendNotification);
    positionSlider.setEnabled (false);
    stopButton.setEnabled (false);
    splitButton.setEnabled (false);

    // The groups are placed once, here; everything else in resized.
    trackListGroup.setBounds (5, 70, 230, 140);
    effectGroup.setBounds (240, 70, 185, 140);

    for (auto* component : std::initializer_list<juce::Component*>{
             &trackListGroup, &trackList, &effectGroup, &denoiserToggle, &denoiserSlider, &declickerToggle,
             &declickerSlider, &normalizerToggle, &applyButton, &resampleToggle, &helpLabel, &thresholdLabel,
             &sensibilityLabel, &addButton, &newCaptureButton, &playButton, &stopButton, &positionSlider,
             &splitButton })
        addAndMakeVisible (component);

    for (auto* button : std::initializer_list<juce::Button*>{
             &denoiserToggle, &declickerToggle, &normalizerToggle, &applyButton, &resampleToggle, &addButton,
             &newCaptureButton, &playButton, &stopButton, &splitButton })
        button->addListener (this);

    trackList.addMouseListener (this, true);
    positionSlider.addMouseListener (this, true);
    trackList.onTracksReplaced = [this] { forgetPreview(); };
}

Page2::~Page2()
{
    if (reader != nullptr)
    {
        if (reader->isPlaying())
        {
            reader->stop();
            reader->releaseResources();
        }
        deleteReader();
    }

    stopTimer();

    if (previewFile.exists())
        previewFile.deleteFile();

    trackList.removeMouseListener (this);
    positionSlider.removeMouseListener (this);
}

void Page2::resized()
{
    trackList.setBounds (15, 88, 210, 110);
    denoiserToggle.setBounds (245, 88, 90, 23);
    denoiserSlider.setBounds (330, 90, 90, 23);
    declickerToggle.setBounds (245, 123, 90, 23);
    declickerSlider.setBounds (330, 125, 90, 23);
    normalizerToggle.setBounds (245, 152, 90, 23);
    applyButton.setBounds (345, 177, 70, 25);
    resampleToggle.setBounds (245, 177, 70, 30);
    helpLabel.setBounds (30, 260, 380, 80);
    thresholdLabel.setBounds (345, 85, 55, 10);
    sensibilityLabel.setBounds (345, 118, 55, 12);
    addButton.setBounds (10, 240, 80, 25);
    newCaptureButton.setBounds (130, 240, 100, 25);
    playButton.setBounds (10, 210, 75, 25);
    stopButton.setBounds (130, 210, 75, 25);
    positionSlider.setBounds (215, 212, 200, 20);
    // The time text lies over the seek bar.
    positionSlider.setTimeLabelBounds ({ 215, 212, 200, 20 });
    splitButton.setBounds (250, 240, 120, 25);
}

void Page2::updateTrackList()
{
    trackList.updateContent();
    trackList.repaint();
}

void Page2::updateButtonVisibility()
{
    const bool encoding = project->projectType == encodeProject;
    newCaptureButton.setVisible (! encoding);
    addButton.setTooltip (project->translate (encoding ? "Browse for files to convert" : "Capture new tracks to add"));
}

//==============================================================================
Page2::Effects Page2::readEffects() const
{
    // The sliders' fractions are dropped: each filter has 101 settings.
    Effects effects;
    effects.denoise = denoiserToggle.getToggleState() ? (int) denoiserSlider.getValue() : -1;
    effects.declick = declickerToggle.getToggleState() ? (int) declickerSlider.getValue() : -1;
    effects.normalize = normalizerToggle.getToggleState();
    return effects;
}

void Page2::buttonClicked (juce::Button* button)
{
    const auto effects = readEffects();
    currentRow = trackList.getCurrentRow();

    bool endsAtOnce = false;

    if (button == &playButton)
        endsAtOnce = playClicked (effects);
    else if (button == &stopButton)
        stopClicked();
    else if (button == &splitButton)
        endsAtOnce = splitClicked();
    else if (button == &applyButton)
        applyClicked (effects);
    else if (button == &addButton)
        addClicked();
    else if (button == &newCaptureButton)
        newCaptureClicked();

    if (! endsAtOnce)
        endOfClick (effects);
}

void Page2::endOfClick (const Effects& effects)
{
    project->audioReader = reader;

    // The face follows the toggles, and the Normalizer as it stood when the click began.
    if (resampleToggle.getToggleState() || denoiserToggle.getToggleState() || declickerToggle.getToggleState() ||
        effects.normalize)
    {
        plainPlay = false;
        playButton.setButtonText (project->translate ("Preview"));
        playButton.setTooltip (
            project->translate ("Click here to preview the current track with the selected effect(s) applied"));
    }
    else
    {
        plainPlay = true;
        playButton.setButtonText (project->translate ("Play"));
        playButton.setTooltip (project->translate ("Click here to play the current track"));
    }
}

void Page2::showRestingText()
{
    playButton.setButtonText (project->translate (plainPlay ? "Play" : "Preview"));
}

//==============================================================================
bool Page2::playClicked (const Effects& effects)
{
    if (reader == nullptr || ! reader->isPlaying())
    {
        if (pausePosition != -1.0 && isPlayingTrack (currentRow))
        {
            // A resume starts a new player where the pause was, or where the bar was moved
            // to meanwhile.
            deleteReader();
            const double position = positionSlider.getValue() != 0.0 ? positionSlider.getValue() : -1.0;
            if (! startPlaying (effects, position))
                return true;
        }
        else
        {
            buttonClicked (&stopButton);
            if (currentRow == -1)
                return false;
            if (! startPlaying (effects, 0.0))
                return true;
        }

        pausePosition = -1.0;
        readerRate = reader->getSampleRate();
        return false;
    }

    if (isPlayingTrack (currentRow))
    {
        pausePosition = (double) reader->getPosition();
        reader->togglePause();
        showRestingText();
        return false;
    }

    // The selection has moved on: the new row starts.
    pausePosition = -1.0;
    buttonClicked (&stopButton);
    buttonClicked (&playButton);
    return false;
}

bool Page2::startPlaying (const Effects& effects, double position)
{
    auto track = project->trackPath (currentRow);
    const auto file = prepareTrackFile (currentRow, effects.denoise, effects.declick, effects.normalize);
    if (! file.existsAsFile())
        return false;

    // A track brought to WAV for its preview is the WAV file from then on.
    if (! project->containsTrack (track) && project->containsTrack (sourceFile.getFullPathName()))
        track = sourceFile.getFullPathName();

    if (reader == nullptr)
        makeReader();

    pausePosition = position;
    positionSlider.setValue (0.0, juce::dontSendNotification);
    positionSlider.setReaderSlot (&reader);
    positionSlider.setEnabled (true);
    positionSlider.setDragging (false);
    positionSlider.repaint();
    startTimer (transportTimerMs);

    reader->play (file, pausePosition);

    const double total = reader->getTotalLength();
    positionSlider.setTrackInfo (reader->getSampleRate(), total);
    positionSlider.updateTime (position == 0.0 ? 0 : (juce::int64) pausePosition, false);
    // A file that could not be read has no length; the bar keeps a range it can draw.
    positionSlider.setRange (0.0, juce::jmax (1.0, total), 1.0);

    plainPlay = playButton.getButtonText() == project->translate ("Play");
    playingRow = project->indexOfTrack (track);
    playingTrack = track;
    return true;
}

void Page2::stopClicked()
{
    positionSlider.setValue (0.0, juce::dontSendNotification);
    positionSlider.setTimeText ({}, false);
    stopTimer();

    // Whatever plays stops, whichever row is highlighted.
    if (reader != nullptr && reader->isPlaying())
    {
        reader->stop();
        deleteReader();
        positionSlider.setEnabled (false);
    }
    else
    {
        positionSlider.setValue (0.0, juce::dontSendNotification);
        positionSlider.setEnabled (false);
    }

    stopButton.setEnabled (false);
    playButton.setEnabled (true);
    positionSlider.repaint();
    pausePosition = -1.0;
    splitButton.setEnabled (false);
    showRestingText();
}

bool Page2::splitClicked()
{
    if (pausePosition == -1.0)
    {
        // A split while playing pauses first.
        buttonClicked (&playButton);

        if (pausePosition == -1.0)
        {
            buttonClicked (&stopButton);
            return true;
        }
    }

    // The paused track is cut, wherever the highlight has gone since.
    const int row = project->indexOfTrack (playingTrack);
    auto file = trackFile (row);
    if (! file.existsAsFile())
        return false;

    // Every file the split writes takes a free name: what is already there may be another track
    // or a file of the user's.
    const auto freeName = [] (const juce::String& path) { return juce::File (path).getNonexistentSibling (true); };

    if (! endsInWav (file.getFullPathName()))
    {
        // The cut parts are WAV files, and go under WAV names only: the track becomes a WAV file
        // first, and stays as it is when it can't.
        const auto wavFile = freeName (withWavEnding (file.getFullPathName()));
        WavConvertor convertor;
        if (convertor.convert (file.getFullPathName(), wavFile.getFullPathName(), project))
        {
            project->setTrack (row, formatWav, {});
            project->setTrackPath (row, wavFile.getFullPathName());
            file = wavFile;
        }
        else
        {
            wavFile.deleteFile();
            file = juce::File();
        }
    }

    if (file != juce::File())
    {
        const auto stem = file.getFullPathName().upToLastOccurrenceOf (".", false, false);
        const auto startFile = freeName (stem + "_start.wav");
        const auto endFile = freeName (stem + "_end.wav");

        if (reader != nullptr)
            readerRate = reader->getSampleRate();

        const double seconds = positionSlider.getValue() / readerRate;

        if (splitFile (file, seconds, startFile, endFile, project))
        {
            pausePosition = -1.0;

            // The row keeps its path and now holds the first part; the second part follows it.
            startFile.moveFileTo (file);
            const auto endTarget = file.getNonexistentSibling (true);
            endFile.moveFileTo (endTarget);
            project->insertTrack (row + 1, endTarget.getFullPathName(), formatWav);
            updateTrackList();
        }
        else
        {
            startFile.deleteFile();
            endFile.deleteFile();
        }
    }

    positionSlider.setEnabled (false);
    positionSlider.setValue (0.0, juce::dontSendNotification);
    positionSlider.setTimeText ({}, false);
    positionSlider.repaint();
    return false;
}

void Page2::applyClicked (const Effects& effects)
{
    buttonClicked (&stopButton);

    const auto selected = trackList.getSelectedRows();
    bool done = false;

    // One row previewed with these very settings: the preview is the result, at the cost of one copy.
    if (sourceFile.exists() && previewFile.exists() && currentRow == lastRow &&
        resampleToggle.getToggleState() == lastResample && effects.denoise == lastDenoise &&
        effects.declick == lastDeclick && effects.normalize == lastNormalize && selected.size() == 1)
        done = copyFile (previewFile, sourceFile, false);

    if (! done)
    {
        // The tracks are taken by their paths before any is touched: a track brought to WAV
        // leaves its place for the end of the list, and the rows after it move up.
        juce::StringArray tracks;
        for (int i = 0; i < selected.size(); ++i)
            tracks.add (project->trackPath (selected[i]));

        // Each row's result is moved over the file it was made from: sourceFile names that file
        // once prepareTrackFile has run, and stays as it stood where no copy had to be made.
        for (const auto& track : tracks)
        {
            const int row = project->indexOfTrack (track);
            if (row < 0)
                continue;

            const auto result = prepareTrackFile (row, effects.denoise, effects.declick, effects.normalize);
            if (result.exists())
                copyFile (result, sourceFile, true);
        }
    }

    for (auto* toggle : { &denoiserToggle, &declickerToggle, &normalizerToggle, &resampleToggle })
        toggle->setToggleState (false, juce::dontSendNotification);

    if (previewFile.exists())
        previewFile.deleteFile();

    playButton.setButtonText (project->translate ("Play"));
    updateTrackList();
}

void Page2::addClicked()
{
    stopCapture();
    endPreview();

    if (project->projectType == encodeProject)
    {
        FileRequest request;
        request.mode = FileRequest::Mode::openFile;
        request.title = project->translate ("Choose some audio files to convert...");
        request.filter = "*.wav;*.mp3;*.ogg;*.flac;*.aiff;*.aif;*.m4a";

        juce::Array<juce::File> chosen;
        if (Dialogs::get().chooseFiles (request, chosen))
        {
            for (const auto& file : chosen)
            {
                project->addTrackFile (file.getFullPathName());
                updateTrackList();
            }
        }
    }
    else
    {
        // Back to the capture page, whose next capture adds to the list.
        goToPage (MainComponent::currentPage - 1);
        project->firstTrackPending = 0;
    }

    if (previewFile.exists())
        previewFile.deleteFile();
}

void Page2::newCaptureClicked()
{
    stopCapture();
    endPreview();

    if (project->trackCount() > 0)
    {
        const int answer =
            showYesNoCancel (juce::MessageBoxIconType::WarningIcon, project->translate ("Delete Track(s)"),
                             project->translate ("Are you sure to delete all your tracks"));
        if (answer == 1)
        {
            project->deleteAllTracks (true);
            project->resetForNewCapture();
            goToPage (2);

            // The last capture's file is closed, and the next capture's folder will replace the writer.
            if (auto* writer = TrackWriter::getInstance ({}, -1, 0))
            {
                writer->close();
                writer->setFolder ({});
            }
        }
    }
    else
    {
        goToPage (2);
    }

    if (previewFile.exists())
        previewFile.deleteFile();
}

//==============================================================================
juce::File Page2::prepareTrackFile (int row, int denoise, int declick, bool normalize)
{
    // No track, nothing to prepare: no question, no conversion, no copy.
    if (! juce::isPositiveAndBelow (row, project->trackCount()))
        return {};

    const bool resample = resampleToggle.getToggleState();

    if (sourceFile.exists() && previewFile.exists() && row == lastRow && resample == lastResample &&
        denoise == lastDenoise && declick == lastDeclick && normalize == lastNormalize)
        return previewFile;

    if (! resample && denoise == -1 && declick == -1 && ! normalize)
        return trackFile (row);

    sourceFile = trackFile (row);

    if (! endsInWav (sourceFile.getFullPathName()))
    {
        // The filters read WAV only: the track becomes a WAV file first, where the user says.
        project->setOutputFormat (formatWav);
        SaveElsewhere question{ juce::File(), juce::File (withWavEnding (sourceFile.getFullPathName())) };
        const auto name = question.ask();

        if (name.isNotEmpty())
        {
            project->intermediateConversion = true;
            WavConvertor convertor;
            if (convertor.convert (sourceFile.getFullPathName(), name, project))
            {
                project->removeTrackNamed (sourceFile.getFullPathName());
                project->addTrack (name, formatWav);
                project->addTemporaryFile (name);
            }
            project->intermediateConversion = false;
        }

        sourceFile = name.isNotEmpty() ? juce::File (name) : juce::File();
    }

    if (previewFile.exists())
        previewFile.deleteFile();

    previewFile = juce::File::createTempFile (juce::String (row + 1) + ".wav");

    if (copyFile (sourceFile, previewFile, false))
    {
        if (resample)
            resampleFile (&previewFile, resampleRatio, project);

        if (denoise != -1 || declick != -1 || normalize)
        {
            const auto path = previewFile.getFullPathName();
            CFilters filters (project);
            filters.applyFilters (path.toRawUTF8(), path.toRawUTF8(), denoise, declick, normalize);
        }
    }

    lastRow = row;
    lastResample = resample;
    lastDenoise = denoise;
    lastDeclick = declick;
    lastNormalize = normalize;
    return previewFile;
}

//==============================================================================
void Page2::timerCallback()
{
    currentRow = trackList.getCurrentRow();
    const bool playing = reader != nullptr && reader->isPlaying();

    stopButton.setEnabled (playing);

    if (pausePosition != -1.0 || playing)
        positionSlider.setEnabled (true);

    if (reader != nullptr && ! playing)
    {
        // Played to the end, or paused: the player goes; a pause keeps its position.
        deleteReader();
        stopTimer();
        if (pausePosition == -1.0)
            buttonClicked (&stopButton);
    }
    else if (playing)
    {
        const auto position = reader->getPosition();
        if (! positionSlider.isDragging())
            positionSlider.setValue ((double) position, juce::dontSendNotification);
        positionSlider.updateTime (position, false);

        if (! isPlayingTrack (currentRow))
        {
            showRestingText();
            splitButton.setEnabled (false);
        }
        else
        {
            splitButton.setEnabled (true);
            playButton.setButtonText (project->translate ("Pause"));
        }
    }

    if (reader != nullptr && reader->isPaused())
    {
        // Told to end from outside the page's own flow.
        if (reader->isPlaying())
        {
            reader->stop();
            deleteReader();
            stopTimer();
            positionSlider.setValue (0.0, juce::dontSendNotification);
            playButton.setEnabled (true);
            stopButton.setEnabled (false);
        }
    }
    else if (positionSlider.getTimeText().isEmpty())
    {
        showRestingText();
        pausePosition = -1.0;
        stopButton.setEnabled (false);
        splitButton.setEnabled (false);
    }
    else
    {
        stopButton.setEnabled (true);
        splitButton.setEnabled (true);
    }

    positionSlider.repaint();
    project->audioReader = reader;
    trackList.repaint();
}

void Page2::endPreview()
{
    if (reader == nullptr)
        return;

    if (reader->isPlaying())
    {
        reader->setPaused (true);
        if (! isTimerRunning())
            startTimer (transportTimerMs);
    }
    else
    {
        deleteReader();
    }
}

//==============================================================================
void Page2::makeReader()
{
    ownedReader = std::make_unique<AudioReader> (project);
    reader = ownedReader.get();
    project->audioReader = reader;
}

void Page2::deleteReader()
{
    // Nobody may hold the player past this point: the project's copy goes with it.
    if (project->audioReader == reader)
        project->audioReader = nullptr;

    ownedReader.reset();
    reader = nullptr;
}

void Page2::forgetPreview()
{
    if (previewFile.exists())
        previewFile.deleteFile();

    previewFile = juce::File();
    sourceFile = juce::File();
    lastRow = -1;
    lastResample = false;
    lastDenoise = -1;
    lastDeclick = -1;
    lastNormalize = false;
}

bool Page2::isPlayingTrack (int row) const
{
    return playingTrack.isNotEmpty() && project->trackPath (row) == playingTrack;
}

juce::File Page2::trackFile (int row) const
{
    const auto path = project->trackPath (row);
    return path.isNotEmpty() ? juce::File (path) : juce::File();
}

bool Page2::copyFile (const juce::File& from, const juce::File& to, bool move)
{
    CopyMyFile worker (from, to, move);
    worker.runThread (juce::Thread::Priority::normal);
    return worker.result;
}

void Page2::goToPage (int index)
{
    auto& pages = MainComponent::pages;
    const auto isPage = [&pages] (int i) { return i >= 0 && i < (int) pages.size(); };

    if (isPage (MainComponent::currentPage))
        pages[(size_t) MainComponent::currentPage]->setVisible (false);

    MainComponent::currentPage = index;

    if (isPage (index))
        pages[(size_t) index]->setVisible (true);

    sendActionMessage ("REFRESH");
}
