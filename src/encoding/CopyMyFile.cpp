#include "encoding/CopyMyFile.h"

#include "encoding/Convertor.h"

CopyMyFile::CopyMyFile (const juce::File& from, const juce::File& to, bool moveInstead)
    : juce::ThreadWithProgressWindow ("Copying...", false, true, convertorCancellingTimeOutMs, convertorCancelText),
      source (from),
      destination (to),
      move (moveInstead)
{
}

void CopyMyFile::run()
{
    setStatusMessage ("Copying current track...");
    result = move ? source.moveFileTo (destination) : source.copyFileTo (destination);
}
