// The track list operations of Project: the list itself, and the deleting of track files.
#include "project/Project.h"

#include "project/Dialogs.h"
#include "project/SideRecord.h"

#include <cstdlib>

int Project::trackCount() const
{
    return static_cast<int> (tracks.size());
}

juce::String Project::trackPath (int index) const
{
    return juce::isPositiveAndBelow (index, trackCount()) ? tracks[(size_t) index].path : juce::String();
}

juce::String Project::trackName (int index) const
{
    return juce::isPositiveAndBelow (index, trackCount())
               ? juce::File (tracks[(size_t) index].path).getFileNameWithoutExtension()
               : juce::String();
}

void Project::setTrackPath (int index, const juce::String& path)
{
    jassert (juce::isPositiveAndBelow (index, trackCount()));
    if (! juce::isPositiveAndBelow (index, trackCount()))
        return;

    // A captured track that moves keeps its place in its side.
    SideRecord::followMove (tracks[(size_t) index].path, path);
    tracks[(size_t) index].path = path;
}

int Project::trackFormat (int index) const
{
    return juce::isPositiveAndBelow (index, trackCount()) ? tracks[(size_t) index].format : -1;
}

int Project::setTrack (int index, int format, const juce::String& path)
{
    if (! juce::isPositiveAndBelow (index, trackCount()))
        return -1;

    auto& track = tracks[(size_t) index];
    track.format = format;
    if (path.isNotEmpty())
    {
        SideRecord::followMove (track.path, path);
        track.path = path;
    }

    return format;
}

int Project::indexOfTrack (const juce::String& path) const
{
    for (size_t i = 0; i < tracks.size(); ++i)
        if (tracks[i].path == path)
            return static_cast<int> (i);

    return -1;
}

bool Project::containsTrack (const juce::String& path) const
{
    return indexOfTrack (path) != -1;
}

bool Project::addTrack (const juce::String& path, int format)
{
    if (containsTrack (path))
        return false;

    tracks.push_back ({ path, format });
    ++trackCounter;
    return true;
}

bool Project::insertTrack (int index, const juce::String& path, int format)
{
    if (containsTrack (path))
        return false;

    const auto position = juce::jlimit (0, trackCount(), index);
    tracks.insert (tracks.begin() + position, Track{ path, format });
    return true;
}

void Project::removeTrackNamed (const juce::String& path)
{
    const auto index = indexOfTrack (path);
    if (index != -1)
        tracks.erase (tracks.begin() + index);
}

void Project::removeTrackAt (int index)
{
    index = std::abs (index);
    if (index < trackCount())
        tracks.erase (tracks.begin() + index);
}

void Project::clearTracks()
{
    tracks.clear();
}

void Project::addTemporaryFile (const juce::String& path)
{
    temporaryFiles.push_back (path);
}

std::vector<juce::String> Project::temporaryFileList() const
{
    return temporaryFiles;
}

//==============================================================================
void Project::showSuccess (const juce::String& message) const
{
    showMessage (juce::MessageBoxIconType::InfoIcon, "Success", message, "ok");
}

void Project::deleteTrack (int index)
{
    if (! juce::isPositiveAndBelow (index, trackCount()))
        return;

    const juce::File file (tracks[(size_t) index].path);
    const bool missing = ! file.existsAsFile();

    if (missing)
    {
        showError (self->translate ("An error occured when trying to delete the track - file not found"));
    }
    else if (! file.deleteFile())
    {
        showError (self->translate ("An error occured when trying to delete the track"));
        return;
    }

    tracks.erase (tracks.begin() + index);
    if (! tracks.empty())
        lastWrittenTrack = trackCount() - 1;

    if (! missing)
        showSuccess (self->translate ("File has been deleted sucessfully"));
}

void Project::removeTracks (juce::SparseSet<int> rows)
{
    deleteTracks (rows, false);
}

void Project::deleteTracks (juce::SparseSet<int> rows, bool deleteFiles)
{
    std::vector<int> pending;
    for (int i = 0; i < rows.size(); ++i)
        pending.push_back (rows[i]);

    // Bubble sort, ascending.
    for (size_t pass = 0; pass + 1 < pending.size(); ++pass)
        for (size_t i = 0; i + 1 < pending.size() - pass; ++i)
            if (pending[i] > pending[i + 1])
                std::swap (pending[i], pending[i + 1]);

    int failures = 0;

    while (! pending.empty())
    {
        // Walk the list to the first pending index; the others shift down as the list shrinks.
        int position = 0;
        auto it = tracks.begin();
        while (it != tracks.end() && position != pending.front())
        {
            ++it;
            ++position;
        }

        pending.erase (pending.begin());
        for (auto& entry : pending)
            --entry;

        if (it == tracks.end())
            continue;

        if (deleteFiles && ! juce::File (it->path).deleteFile())
            ++failures;

        tracks.erase (it);
    }

    if (! deleteFiles)
        return;

    if (failures == 0)
        showSuccess (self->translate ("Files have been deleted sucessfully"));
    else
        showError (
            self->translate ("Errors occured when trying to delete the tracks - Not all track may have been deleted"));
}

void Project::deleteAllTracks (bool notify)
{
    // The user's own files are never deleted here.
    if (projectType == encodeProject)
        return;

    int failures = 0;
    juce::StringArray paths;
    for (auto it = tracks.rbegin(); it != tracks.rend(); ++it)
    {
        const juce::File file (it->path);
        if (! file.existsAsFile() || ! file.deleteFile())
            ++failures;
        paths.add (it->path);
    }

    // The captures' side files go with their tracks, quietly.
    SideRecord::deleteSidesOf (paths);

    tracks.clear();

    if (failures > 0)
        showError (juce::String (failures) + self->translate ("error(s) occured when trying to delete the track(s)"));
    else if (notify)
        showSuccess (self->translate ("All Files have been deleted sucessfully"));

    lastWrittenTrack = 0;
}
