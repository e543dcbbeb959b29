#pragma once

#include <juce_core/juce_core.h>

#include <memory>
#include <vector>

class AudioReader;
class Project;

/**
    Plays the side window's audio from any of its frames, through the program's preview player
    and so through the device the user chose. The audio is one side file, or several track files
    heard one after the other: a file that ends goes on into the next (`update`, on the owner's
    timer). Positions are frames of the audio as a whole, at its rate; files at another rate are
    played at their own.
*/
class SidePlayer
{
public:
    /** `starts` holds the frame of the whole at which each file begins, at `rate`. */
    SidePlayer (Project& project, juce::Array<juce::File> files, std::vector<juce::int64> starts, double rate);
    ~SidePlayer();

    /** Plays from this frame of the whole. */
    void playFrom (juce::int64 frame);

    /** Stops what plays; the player stays, ready to play again. */
    void stop();

    bool isPlaying() const;

    /** Where the sound plays, in frames of the whole; -1 when nothing plays. */
    juce::int64 getPosition() const;

    /** Goes on into the next file when one has played to its end. */
    void update();

    /** The files, once the audio they held has been cut into others. */
    void setFiles (juce::Array<juce::File> files, std::vector<juce::int64> starts);

    /** The preview player, once something was played; null before. */
    AudioReader* getReader() const { return reader.get(); }

private:
    /** The file that holds a frame of the whole. */
    int fileAt (juce::int64 frame) const;

    /** The rate of a file, read once. */
    double rateOf (int index);

    void start (int index, juce::int64 frameInWhole);

    Project& project;
    juce::Array<juce::File> files;
    std::vector<juce::int64> starts;
    std::vector<double> rates; // 0 until read
    double rate;
    std::unique_ptr<AudioReader> reader;
    int playing = -1; // the file that plays, -1 when none

    JUCE_DECLARE_NON_COPYABLE (SidePlayer)
};
