#pragma once

#include "encoding/ConvertorThread.h"

/**
    The worker of the formats that iTunes writes: AAC, Apple Lossless and MP3. iTunes converts
    the file in one piece, so there are no chunks, no progress and no polled Cancel.
*/
class ItunesConvertorThread : public ConvertorThread
{
public:
    void run() override;

    Project* project;
    int format; // the output format when the worker was made

protected:
    ItunesConvertorThread (const juce::String& title, const juce::String& source, const juce::String& destination,
                           Project* project, bool showsStatus);

private:
    bool showsStatus;

    JUCE_DECLARE_NON_COPYABLE (ItunesConvertorThread)
};

class AacConvertorThread : public ItunesConvertorThread
{
public:
    AacConvertorThread (const juce::String& source, const juce::String& destination, Project* project);
};

class AppleLosslessConvertorThread : public ItunesConvertorThread
{
public:
    AppleLosslessConvertorThread (const juce::String& source, const juce::String& destination, Project* project);
};

class Mp3ConvertorThread : public ItunesConvertorThread
{
public:
    Mp3ConvertorThread (const juce::String& source, const juce::String& destination, Project* project);
};

//==============================================================================
using AacConvertor = ThreadedConvertor<AacConvertorThread>;
using AppleLosslessConvertor = ThreadedConvertor<AppleLosslessConvertorThread>;
using Mp3Convertor = ThreadedConvertor<Mp3ConvertorThread>;
