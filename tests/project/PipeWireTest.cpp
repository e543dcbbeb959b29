// The desktop's sound server as the program sees it: the rate it asks PipeWire for, and the
// sources it reads from PipeWire's description of its graph.
#include "project/PipeWireDeviceType.h"
#include "project/PipeWireRate.h"

#include <gtest/gtest.h>

TEST (PipeWireRate, theRequestIsAddedToNoPropertiesOrToTheUsersOwn)
{
    EXPECT_EQ (PipeWireRate::propertiesWith ({}, 44100), "node.force-rate=44100");
    EXPECT_EQ (PipeWireRate::propertiesWith ("  ", 44100), "node.force-rate=44100");
    EXPECT_EQ (PipeWireRate::propertiesWith ("{ media.role=Music }", 44100),
               "{ media.role=Music node.force-rate=44100 }");
    EXPECT_EQ (PipeWireRate::propertiesWith ("media.role=Music", 44100), "{ media.role=Music node.force-rate=44100 }");
    EXPECT_EQ (PipeWireRate::propertiesWith ("{}", 44100), "{ node.force-rate=44100 }");
}

TEST (PipeWireRate, aRateTheUserAskedForStays)
{
    EXPECT_EQ (PipeWireRate::propertiesWith ("{ node.force-rate=48000 }", 44100), "{ node.force-rate=48000 }");
    EXPECT_EQ (PipeWireRate::propertiesWith ("node.rate=1/96000", 44100), "node.rate=1/96000");
}

namespace
{
/** A graph as pw-dump shows it: a sink, two sources and a duplex device, and the default source. */
const char* graph = R"([
  { "id": 28, "type": "PipeWire:Interface:Node",
    "info": { "props": { "node.name": "Dummy-Driver", "node.driver": true } } },
  { "id": 36, "type": "PipeWire:Interface:Node",
    "info": { "props": { "node.name": "alsa_input.pci-0000_00_1f.3.analog-stereo",
                         "node.description": "Built-in Audio Analog Stereo", "media.class": "Audio/Source" } } },
  { "id": 37, "type": "PipeWire:Interface:Node",
    "info": { "props": { "node.name": "speakers", "node.description": "Speakers", "media.class": "Audio/Sink" } } },
  { "id": 38, "type": "PipeWire:Interface:Node",
    "info": { "props": { "node.name": "alsa_input.usb-Turntable", "node.description": "USB Turntable",
                         "media.class": "Audio/Source" } } },
  { "id": 39, "type": "PipeWire:Interface:Node",
    "info": { "props": { "node.name": "interface", "node.nick": "Interface", "media.class": "Audio/Duplex" } } },
  { "id": 40, "type": "PipeWire:Interface:Node",
    "info": { "props": { "node.name": "video", "node.description": "Camera", "media.class": "Video/Source" } } },
  { "id": 30, "type": "PipeWire:Interface:Metadata", "props": { "metadata.name": "settings" },
    "metadata": [ { "subject": 0, "key": "clock.rate", "type": "", "value": 48000 } ] },
  { "id": 33, "type": "PipeWire:Interface:Metadata", "props": { "metadata.name": "default" },
    "metadata": [ { "subject": 0, "key": "default.audio.sink", "type": "Spa:String:JSON", "value": { "name": "speakers" } },
                  { "subject": 0, "key": "default.audio.source", "type": "Spa:String:JSON",
                    "value": { "name": "alsa_input.usb-Turntable" } } ] }
])";
} // namespace

TEST (PipeWireSources, theAudioSourcesAreListedByTheirNamesTheDefaultOneFirst)
{
    const auto sources = PipeWireDeviceType::sourcesIn (graph);
    ASSERT_EQ (sources.size(), 3u);
    EXPECT_EQ (sources[0].nodeName, "alsa_input.usb-Turntable");
    EXPECT_EQ (sources[0].description, "USB Turntable");
    EXPECT_EQ (sources[1].nodeName, "alsa_input.pci-0000_00_1f.3.analog-stereo");
    EXPECT_EQ (sources[1].description, "Built-in Audio Analog Stereo");
    EXPECT_EQ (sources[2].nodeName, "interface");
    EXPECT_EQ (sources[2].description, "Interface");
}

TEST (PipeWireSources, nothingUsableGivesNoSources)
{
    EXPECT_TRUE (PipeWireDeviceType::sourcesIn ({}).empty());
    EXPECT_TRUE (PipeWireDeviceType::sourcesIn ("not json").empty());
    EXPECT_TRUE (PipeWireDeviceType::sourcesIn ("[]").empty());
}
