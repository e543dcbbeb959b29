#include "encoding/CopyMyFile.h"

#include "project/Project.h"
#include "project/WorkerWindow.h"

namespace
{
juce::String translate (const Project* project, const juce::String& text)
{
    return project != nullptr ? project->translate (text) : text;
}
} // namespace

CopyMyFile::CopyMyFile (const juce::File& from, const juce::File& to, bool moveInstead, Project* projectForTexts)
    : juce::ThreadWithProgressWindow (translate (projectForTexts, "Copying..."), false, true, workerCancellingTimeOutMs,
                                      workerCancelText),
      source (from),
      destination (to),
      move (moveInstead),
      project (projectForTexts)
{
}

void CopyMyFile::run()
{
    showStatus (translate (project, "Copying current track..."));
    result = move ? source.moveFileTo (destination) : source.copyFileTo (destination);
}
