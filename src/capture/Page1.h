#pragma once

#include "app/Page.h"

/** The capture page: level test, calibration, parameters and the capture itself. */
class Page1 : public Page
{
public:
    explicit Page1 (Project* project);

    void resized() override;
};
