#include "editing/SongCutter.h"

#include "project/Dialogs.h"
#include "project/Project.h"

namespace
{
/** Songs beyond this are more than any record holds; a bigger number asks for as many. */
constexpr int mostSongs = 100000;

/** The number of a name "Track<k>", or 0. */
int trackNumberOf (const juce::String& name)
{
    if (! name.startsWith ("Track"))
        return 0;

    const auto digits = name.substring (5);
    if (digits.isEmpty() || digits.length() > 6 || ! digits.containsOnly ("0123456789"))
        return 0;

    return digits.getIntValue();
}
} // namespace

SongCutter::SongCutter (Project& projectToUse)
    : project (projectToUse)
{
}

juce::String SongCutter::translate (const juce::String& text) const
{
    return project.translate (text);
}

std::optional<int> SongCutter::askForSongs() const
{
    AlertRequest request;
    request.icon = juce::MessageBoxIconType::QuestionIcon;
    request.title = project.translate ("Find the songs");
    request.message = project.translate ("How many songs are there on the side? Leave the field empty and the "
                                         "program decides.");
    request.fieldNames.add ("songs");
    request.fieldLabels.add (project.translate ("Number of songs:"));
    request.fieldValues.add ({});
    request.focusedField = 0;
    request.buttons.push_back ({ project.translate ("cancel"), 0, juce::KeyPress (juce::KeyPress::escapeKey) });
    request.buttons.push_back ({ project.translate ("ok"), 1, juce::KeyPress (juce::KeyPress::returnKey) });

    if (Dialogs::get().runAlert (request) != 1)
        return std::nullopt;

    const auto typed = request.fieldValues[0].trim();
    if (typed.isEmpty())
        return 0;

    const auto number = typed.containsOnly ("0123456789") ? typed.getLargeIntValue() : 0;
    if (number < 1)
    {
        showError (project.translate ("The number of songs must be a whole number from 1 up. Leave the field "
                                      "empty and the program decides."));
        return std::nullopt;
    }

    return (int) juce::jmin ((juce::int64) mostSongs, number);
}

int SongCutter::firstNumber (int row) const
{
    const int own = trackNumberOf (project.trackName (row));
    return own > 0 ? own : row + 1;
}

bool SongCutter::run (int clickedRow, const juce::SparseSet<int>& selectedRows)
{
    cuts.clear();
    newTracks.clear();

    if (clickedRow < 0 || clickedRow >= project.trackCount())
        return false;

    const auto songs = askForSongs();
    if (! songs.has_value())
        return false;

    // The side the row was captured from, or else the rows themselves, joined.
    juce::Array<int> rows;
    juce::Array<juce::File> files;
    juce::File folder;

    const auto side = findSide (project, clickedRow);
    if (side.has_value())
    {
        for (int row : side->rows)
            if (row >= 0 && row < project.trackCount())
                rows.addIfNotAlreadyThere (row);
        rows.sort();
        files.add (side->file);
        folder = side->file.getParentDirectory();
    }
    else
    {
        if (selectedRows.contains (clickedRow))
            for (int i = 0; i < selectedRows.size(); ++i)
                if (selectedRows[i] < project.trackCount())
                    rows.add (selectedRows[i]);
        if (rows.isEmpty())
            rows.add (clickedRow);
        rows.sort();

        for (int row : rows)
            files.add (juce::File (project.trackPath (row)));
        folder = files.getFirst().getParentDirectory();
    }

    if (rows.isEmpty())
        rows.add (clickedRow);

    AudioFilesSource source (files);
    juce::File unreadable;
    if (! source.open (unreadable))
    {
        showError (translate ("This audio could not be read: ") + unreadable.getFullPathName());
        return false;
    }

    FindSongsThread worker (source, *songs, folder, &project);
    runWorker (worker);

    switch (worker.outcome)
    {
        case FindSongsThread::Outcome::cancelled:
            return false;

        case FindSongsThread::Outcome::notEnoughPlaces:
            showMessage (juce::MessageBoxIconType::InfoIcon, translate ("Find the songs"),
                         translate ("There are not enough quiet places between songs to cut the audio into this "
                                    "number of songs.") +
                             "\n" + translate ("Songs asked for: ") + juce::String (*songs) + "\n" +
                             translate ("Places to cut: ") + juce::String (worker.placesFound) + "\n" +
                             translate ("Nothing has been changed."),
                         translate ("ok"));
            return false;

        case FindSongsThread::Outcome::unreadable:
            showError (translate ("The audio could not be read to the end. Nothing has been changed."));
            return false;

        case FindSongsThread::Outcome::unwritable:
            showError (translate ("The new tracks could not be written in this folder: ") + folder.getFullPathName() +
                       "\n" + translate ("Nothing has been changed."));
            return false;

        case FindSongsThread::Outcome::done:
            break;
    }

    // One song in one track: there is nothing to change.
    if (worker.parts.size() == 1 && rows.size() == 1 && ! side.has_value())
    {
        for (const auto& part : worker.parts)
            part.deleteFile();
        showMessage (juce::MessageBoxIconType::InfoIcon, translate ("Find the songs"),
                     translate ("Only one song was found: the track stays as it is."), translate ("ok"));
        return false;
    }

    if (! putInPlace (rows, worker.parts, folder))
        return false;

    cuts = worker.cuts;
    return true;
}

bool SongCutter::putInPlace (const juce::Array<int>& rows, const std::vector<juce::File>& parts,
                             const juce::File& folder)
{
    const bool replacedFilesGo = project.projectType == ripProject;

    juce::StringArray replaced;
    for (int row : rows)
        replaced.add (project.trackPath (row));

    // The names: Track<k> on from the first row's number, unless another row or a file that
    // stays has that name.
    const int start = firstNumber (rows.getFirst());
    juce::Array<juce::File> targets;
    juce::StringArray renamed;

    const auto isFree = [&] (const juce::File& file)
    {
        const auto path = file.getFullPathName();
        const bool ours = replaced.contains (path);
        if (targets.contains (file) || (project.containsTrack (path) && ! ours))
            return false;
        return ! file.exists() || (ours && replacedFilesGo);
    };

    for (size_t i = 0; i < parts.size(); ++i)
    {
        const auto stem = "Track" + juce::String (start + (int) i);
        const auto wanted = folder.getChildFile (stem + ".wav");
        auto chosen = wanted;

        for (int copy = 2; ! isFree (chosen); ++copy)
            chosen = folder.getChildFile (stem + " (" + juce::String (copy) + ").wav");

        if (chosen != wanted)
            renamed.add (wanted.getFileName() + " -> " + chosen.getFileName());

        targets.add (chosen);
    }

    // A replaced track whose name a new one takes is moved aside first, so that a failure can
    // put everything back as it was.
    std::vector<std::pair<juce::File, juce::File>> asides; // a file, and where it was put
    int moved = 0;

    const auto undo = [&]
    {
        for (int i = moved; --i >= 0;)
            targets[i].moveFileTo (parts[(size_t) i]);
        for (auto it = asides.rbegin(); it != asides.rend(); ++it)
            it->second.moveFileTo (it->first);
        for (const auto& part : parts)
            part.deleteFile();

        showError (translate ("The new tracks could not be put in place in this folder: ") + folder.getFullPathName() +
                   "\n" + translate ("Nothing has been changed."));
        return false;
    };

    for (const auto& target : targets)
    {
        if (! target.exists())
            continue;

        const auto aside = folder.getNonexistentChildFile (".groovesmith-replaced", ".wav", false);
        if (! target.moveFileTo (aside))
            return undo();
        asides.emplace_back (target, aside);
    }

    for (; moved < targets.size(); ++moved)
        if (! parts[(size_t) moved].moveFileTo (targets[moved]))
            return undo();

    // Everything is in place: the replaced files of a rip project go, the user's own stay.
    for (const auto& aside : asides)
        aside.second.deleteFile();

    if (replacedFilesGo)
        for (const auto& path : replaced)
            if (! targets.contains (juce::File (path)))
                juce::File (path).deleteFile();

    for (int i = rows.size(); --i >= 0;)
        project.removeTrackAt (rows[i]);

    for (int i = 0; i < targets.size(); ++i)
        project.insertTrack (rows.getFirst() + i, targets[i].getFullPathName(), formatWav);

    // A later capture numbers its files on from the counter: it must not take these names.
    if (project.projectType == ripProject)
        project.trackCounter = juce::jmax (project.trackCounter, start + targets.size() - 1);

    project.lastWrittenTrack = project.trackCount() - 1;
    newTracks = targets;

    if (! renamed.isEmpty())
        showMessage (juce::MessageBoxIconType::InfoIcon, translate ("Find the songs"),
                     translate ("These names belong to other files, so the new tracks have other names:") + "\n" +
                         renamed.joinIntoString ("\n"),
                     translate ("ok"));

    return true;
}
