// Shared parts of the fuzz targets: a scratch folder for staged inputs, a
// recovery point that catches the failure jump and exit(), and the release of
// the streams and session arrays that a failed read leaves behind.
#ifndef TESTS_FUZZ_HARNESS_H
#define TESTS_FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

// Makes a private scratch folder and enters it; standard input is emptied and
// the prompts go to the null device. Call once, from LLVMFuzzerInitialize.
void FuzzSetUp();
// The defaults of a fresh start, prompts still to the null device.
void FuzzResetGlobals();
// Writes `size` bytes to `name` in the scratch folder.
void FuzzStage(const char* name, const uint8_t* data, size_t size);
// Runs `body` under the recovery point: the failure jump and exit() come back
// here. Streams opened meanwhile and left open are closed afterwards.
// Returns the failure code, -1 for exit(), 0 when the body ran to its end.
int FuzzGuarded(void (*body)());
// With `on`, every block that a run allocates is remembered until freed, and
// FuzzSweep releases those left: the arrays of a dialogue cut short by a
// failure, which nothing points to any more. Only for targets whose code keeps
// no block from one run to the next.
void FuzzSweepAfterRun(bool on);
void FuzzSweep();
// Sets every session array pointer to null and the counts to 0, so that what
// a run allocates can be told from what it did not reach.
void FuzzClearSession();
// Releases the arrays of the formatted-file loader that are not null.
void FuzzReleaseLoadedSession();

#endif
