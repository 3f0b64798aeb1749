#include "host/run.h"

int main(int argc, char** argv)
{
    return larkmoor::host::Run(argc, argv);
}
