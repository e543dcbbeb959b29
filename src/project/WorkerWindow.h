#pragma once

// What the progress windows of all the program's workers share: the file workers, the filter
// run, split, merge, resampling and the convertors.

/** The text of a worker's Cancel button, which is never translated. */
constexpr const char* workerCancelText = "Cancel";

/** How long a worker's Cancel waits for the worker to stop before it is ended. */
constexpr int workerCancellingTimeOutMs = 10000;
