// Entry point of the `halcyra` command-line host.
#include "host/Commands.h"

int main(int argc, char** argv) {
    return halcyra::host::RunHalcyra(argc, argv);
}
