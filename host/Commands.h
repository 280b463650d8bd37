// The command line of `halcyra`: argument parsing and the list, info, render,
// sheet and demo commands.
#pragma once

namespace halcyra::host {

// Runs one command line; returns the process exit status. Errors are printed
// as one line on standard error.
int RunHalcyra(int argc, char** argv);

}  // namespace halcyra::host
