#include "project/Project.h"

#include <gtest/gtest.h>

TEST (Settings, firstStartGivesTheDefaults)
{
    Project project;
    EXPECT_FALSE (project.preamp);
    EXPECT_EQ (project.threshold, -55);
}
