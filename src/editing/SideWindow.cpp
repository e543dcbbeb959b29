#include "editing/SideWindow.h"

#include "capture/AudioReader.h"
#include "capture/PlaySlider.h"
#include "project/Dialogs.h"
#include "project/Project.h"

namespace
{
constexpr int timerMs = 30;
} // namespace

std::vector<juce::int64> SideWindow::startsOf (const juce::Array<juce::File>& files)
{
    AudioFilesSource source (files);
    juce::File unreadable;
    if (! source.open (unreadable))
        return {};

    std::vector<juce::int64> starts{ 0 };
    for (const auto junction : source.getJunctions())
        starts.push_back (junction);
    return starts;
}

std::unique_ptr<SideWindow> SideWindow::create (Project& project, int clickedRow,
                                                const juce::SparseSet<int>& selectedRows)
{
    SongCutter cutter (project);
    auto audio = cutter.chooseAudio (clickedRow, selectedRows);
    if (! audio.has_value())
        return nullptr;

    auto source = std::make_unique<AudioFilesSource> (audio->files);
    juce::File unreadable;
    if (! source->open (unreadable))
    {
        showError (project.translate ("This audio could not be read: ") + unreadable.getFullPathName());
        return nullptr;
    }

    std::vector<juce::int64> starts{ 0 };
    for (const auto junction : source->getJunctions())
        starts.push_back (junction);

    return std::unique_ptr<SideWindow> (new SideWindow (project, std::move (*audio), std::move (source), starts));
}

bool SideWindow::show (Project& project, int clickedRow, const juce::SparseSet<int>& selectedRows,
                       juce::Component* centreAround)
{
    auto window = create (project, clickedRow, selectedRows);
    if (window == nullptr)
        return false;

    // The track page's preview leaves the sound card to the window; the page winds it down.
    if (auto* preview = project.audioReader; preview != nullptr && preview->isPlaying())
    {
        preview->stop();
        preview->setPaused (true);
    }

    Dialogs::get().runDialog (window->getTitle(), *window, centreAround, juce::Colours::lightgrey);
    window->getPlayer().stop();
    return window->hasChangedTheList();
}

SideWindow::SideWindow (Project& projectToUse, SongCutter::Audio audioToShow, std::unique_ptr<AudioFilesSource> source,
                        std::vector<juce::int64> starts)
    : project (projectToUse),
      audio (std::move (audioToShow)),
      overview (std::make_unique<SideOverview> (std::move (source))),
      player (projectToUse, audio.files, std::move (starts), overview->getSampleRate()),
      view (*overview)
{
    const auto tr = [this] (const char* text) { return project.translate (text); };

    hintLabel.setText (tr ("Click on the sound to play it from there, Space stops it. Drag a cut mark to move it, "
                           "double click to add one, right click on a mark to remove it. Apply cuts the tracks at "
                           "the marks."),
                       juce::dontSendNotification);
    hintLabel.setFont (juce::Font (13.0f));
    hintLabel.setJustificationType (juce::Justification::topLeft);
    hintLabel.setMinimumHorizontalScale (1.0f);
    timeLabel.setFont (juce::Font (14.0f));
    timeLabel.setJustificationType (juce::Justification::centredLeft);

    zoomInButton.setTooltip (tr ("Zoom in"));
    zoomOutButton.setTooltip (tr ("Zoom out"));
    wholeButton.setButtonText (tr ("Whole side"));
    wholeButton.setTooltip (tr ("Show the whole side"));
    applyButton.setButtonText (tr ("Apply"));
    applyButton.setTooltip (tr ("Cut the tracks at the marks"));
    closeButton.setButtonText (tr ("close"));

    for (auto* component :
         std::initializer_list<juce::Component*>{ &hintLabel, &view, &scrollBar, &zoomInButton, &zoomOutButton,
                                                  &wholeButton, &timeLabel, &applyButton, &closeButton })
        addAndMakeVisible (component);

    for (auto* button : { &zoomInButton, &zoomOutButton, &wholeButton, &applyButton, &closeButton })
        button->addListener (this);

    scrollBar.setAutoHide (false);
    scrollBar.addListener (this);

    view.onPlayFrom = [this] (juce::int64 frame)
    {
        player.playFrom (frame);
        view.setPlayPosition (player.getPosition());
        updateTime();
    };
    view.onSpace = [this]
    {
        if (player.isPlaying())
            player.stop();
        else
            player.playFrom (view.getCursor());
        view.setPlayPosition (player.getPosition());
        updateTime();
    };
    view.onViewChanged = [this] { updateScrollBar(); };

    showTheAudio();

    // The marks at first: where each track begins now.
    std::vector<juce::int64> marks;
    for (const auto& track : view.getTracks())
        marks.push_back (track.span.getStart());
    view.setMarks (marks);

    setSize (width, height);
    updateTime();
    startTimer (timerMs);
}

SideWindow::~SideWindow()
{
    stopTimer();
    player.stop();
}

juce::String SideWindow::getTitle() const
{
    if (audio.side.has_value())
        return project.translate ("The side") + ": " + audio.side->file.getFileName();
    return project.translate ("The selected tracks, joined");
}

void SideWindow::showTheAudio()
{
    std::vector<SideView::Track> tracks;

    if (audio.side.has_value())
    {
        for (int i = 0; i < audio.side->rows.size() && i < (int) audio.side->spans.size(); ++i)
            tracks.push_back ({ project.trackName (audio.side->rows[i]), audio.side->spans[(size_t) i] });
    }
    else
    {
        // The rows one after the other, each where the one before it ends.
        const auto starts = startsOf (audio.files);
        for (int i = 0; i < audio.rows.size() && i < (int) starts.size(); ++i)
        {
            const auto end = i + 1 < (int) starts.size() ? starts[(size_t) i + 1] : overview->getLengthInFrames();
            tracks.push_back ({ project.trackName (audio.rows[i]), { starts[(size_t) i], end } });
        }
    }

    view.setTracks (std::move (tracks));
}

void SideWindow::resized()
{
    hintLabel.setBounds (10, 4, width - 20, 48);
    view.setBounds (10, 54, width - 20, 190);
    scrollBar.setBounds (10, 246, width - 20, 14);
    zoomInButton.setBounds (10, 270, 30, 26);
    zoomOutButton.setBounds (44, 270, 30, 26);
    wholeButton.setBounds (78, 270, 100, 26);
    timeLabel.setBounds (190, 270, 300, 26);
    applyButton.setBounds (width - 190, 270, 85, 26);
    closeButton.setBounds (width - 95, 270, 85, 26);
    updateScrollBar();
}

void SideWindow::updateScrollBar()
{
    scrollBar.setRangeLimits (0.0, (double) overview->getLengthInFrames(), juce::dontSendNotification);
    scrollBar.setCurrentRange ((double) view.getViewStart(), view.getFramesPerPixel() * view.getWidth(),
                               juce::dontSendNotification);
}

void SideWindow::scrollBarMoved (juce::ScrollBar*, double newRangeStart)
{
    view.setView ((juce::int64) newRangeStart, view.getFramesPerPixel());
}

void SideWindow::updateTime()
{
    const auto rate = (juce::int64) overview->getSampleRate();
    const auto position = player.isPlaying() ? player.getPosition() : view.getCursor();
    timeLabel.setText (PlaySlider::formatSamples (position, rate) + " / " +
                           PlaySlider::formatSamples (overview->getLengthInFrames(), rate),
                       juce::dontSendNotification);
}

void SideWindow::timerCallback()
{
    // The keyboard goes to the waveform once the window shows, so that Space works at once.
    if (! focusGiven && view.isShowing())
    {
        view.grabKeyboardFocus();
        focusGiven = true;
    }

    player.update();
    view.setPlayPosition (player.getPosition());
    updateTime();
}

void SideWindow::buttonClicked (juce::Button* button)
{
    const float middle = (float) view.getWidth() * 0.5f;

    if (button == &zoomInButton)
        view.zoomIn (middle);
    else if (button == &zoomOutButton)
        view.zoomOut (middle);
    else if (button == &wholeButton)
        view.showAll();
    else if (button == &applyButton)
        apply();
    else if (button == &closeButton)
    {
        player.stop();
        if (auto* window = findParentComponentOfClass<juce::DialogWindow>())
            window->exitModalState (0);
    }
}

bool SideWindow::apply()
{
    // The files that play may be about to go.
    player.stop();
    view.setPlayPosition (-1);

    SongCutter cutter (project);
    if (runWorker)
        cutter.runWorker = runWorker;

    if (! cutter.cutAt (audio, view.getMarks()))
        return false;

    changedTheList = true;

    // The new tracks hold the same audio, cut at the marks: it is theirs now.
    juce::SparseSet<int> newRows;
    int first = -1;
    for (const auto& file : cutter.getNewTracks())
    {
        const int row = project.indexOfTrack (file.getFullPathName());
        if (row < 0)
            continue;
        newRows.addRange ({ row, row + 1 });
        first = first < 0 ? row : juce::jmin (first, row);
    }

    if (auto again = cutter.chooseAudio (first, newRows))
    {
        audio = std::move (*again);
        player.setFiles (audio.files, startsOf (audio.files));
    }

    showTheAudio();
    view.setMarks (cutter.getCuts());
    return true;
}
