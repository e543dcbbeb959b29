#include "editing/SidePlayer.h"

#include "capture/AudioReader.h"
#include "project/AudioReaders.h"

SidePlayer::SidePlayer (Project& projectToUse, juce::Array<juce::File> filesToPlay, std::vector<juce::int64> fileStarts,
                        double wholeRate)
    : project (projectToUse),
      rate (wholeRate)
{
    setFiles (std::move (filesToPlay), std::move (fileStarts));
}

SidePlayer::~SidePlayer() = default;

void SidePlayer::setFiles (juce::Array<juce::File> filesToPlay, std::vector<juce::int64> fileStarts)
{
    stop();
    files = std::move (filesToPlay);
    starts = std::move (fileStarts);
    starts.resize ((size_t) files.size(), 0);
    rates.assign ((size_t) files.size(), 0.0);
}

int SidePlayer::fileAt (juce::int64 frame) const
{
    int index = 0;
    for (int i = 1; i < files.size(); ++i)
        if (starts[(size_t) i] <= frame)
            index = i;
    return index;
}

double SidePlayer::rateOf (int index)
{
    auto& known = rates[(size_t) index];
    if (known <= 0.0)
    {
        juce::AudioFormatManager formats;
        formats.registerBasicFormats();
        auto opened = AudioReaders::open (files[index], formats);
        known = opened != nullptr ? opened->sampleRate : rate;
    }
    return known;
}

void SidePlayer::start (int index, juce::int64 frameInWhole)
{
    if (reader == nullptr)
        reader = std::make_unique<AudioReader> (&project);

    const auto offset = juce::jmax ((juce::int64) 0, frameInWhole - starts[(size_t) index]);
    const auto inFile = (double) offset * rateOf (index) / rate;
    reader->play (files[index], std::floor (inFile));
    playing = index;
}

void SidePlayer::playFrom (juce::int64 frame)
{
    if (files.isEmpty())
        return;
    start (fileAt (frame), frame);
}

void SidePlayer::stop()
{
    playing = -1;
    if (reader != nullptr && reader->isPlaying())
        reader->stop();
}

bool SidePlayer::isPlaying() const
{
    return playing >= 0 && reader != nullptr && reader->isPlaying();
}

juce::int64 SidePlayer::getPosition() const
{
    if (! isPlaying())
        return -1;

    const auto fileRate = rates[(size_t) playing] > 0.0 ? rates[(size_t) playing] : rate;
    return starts[(size_t) playing] + (juce::int64) std::floor ((double) reader->getPosition() * rate / fileRate);
}

void SidePlayer::update()
{
    if (playing < 0 || reader == nullptr || reader->isPlaying())
        return;

    // The file has played to its end: the next one goes on from its start.
    if (playing + 1 < files.size())
        start (playing + 1, starts[(size_t) playing + 1]);
    else
        playing = -1;
}
