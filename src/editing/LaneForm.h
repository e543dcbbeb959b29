#pragma once

#include <vector>

/**
    How wide the filters' inner loops work: four float lanes everywhere, eight where the
    processor has AVX2. Every form gives the same bits; the widest the processor offers is
    chosen at the first use, and tests and benchmarks may force another.
*/
enum class LaneForm
{
    fourLanes,
    eightLanes
};

namespace LaneForms
{
/** True when the program holds the eight-lane code and the processor can run it. */
bool eightLanesAvailable();

/** Every form this processor can run, the narrowest first. */
std::vector<LaneForm> availableForms();

/** The form the filters use now. */
LaneForm active();

/** Makes the filters use `form` from now on; eight lanes fall back to four where unavailable.
    Only while no filter is running. */
void use (LaneForm form);
} // namespace LaneForms

/** Uses a form for as long as it lives, then puts back the one that was in use. */
class ScopedLaneForm
{
public:
    explicit ScopedLaneForm (LaneForm form)
        : previous (LaneForms::active())
    {
        LaneForms::use (form);
    }

    ~ScopedLaneForm() { LaneForms::use (previous); }

    ScopedLaneForm (const ScopedLaneForm&) = delete;
    ScopedLaneForm& operator= (const ScopedLaneForm&) = delete;

private:
    LaneForm previous;
};
