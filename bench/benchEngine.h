#pragma once

namespace Bench {

// The object library engine is a singleton that reads its two library files from fixed places
// (the folder "scdLib" beside the program's folder, and the home folder) once per process. Its
// benchmarks therefore run each measurement in a child: a copy of this program placed next to a
// generated standard library, started with a generated home folder. The child is this program
// started with kEngineProbeArgument; engineProbe() is its whole run.
extern const char kEngineProbeArgument[];
int engineProbe(int argc, char **argv);

} // namespace Bench
