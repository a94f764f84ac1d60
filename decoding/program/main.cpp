#include "decoding/program/decodermain.h"

int main(int argc, char **argv)
{
    return kivra::decoderMain(argc, argv);
}
