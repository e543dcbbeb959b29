#include "encoding/SaveElsewhere.h"

#include "project/Dialogs.h"

juce::String SaveElsewhere::ask()
{
    FileRequest request;
    request.mode = FileRequest::Mode::saveFile;
    request.title = "Save elsewhere";
    request.initial = target;
    request.warnAboutOverwriting = true;

    juce::File chosen;
    if (! Dialogs::get().chooseFile (request, chosen))
        return {};

    target = chosen;

    if (source.exists())
    {
        source.moveFileTo (target);
        return source.getFullPathName();
    }

    return target.getFullPathName();
}
