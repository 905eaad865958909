// Prints the digest of every conversion (see OutputDigests.h) on the sample levels and, when
// given, on a folder of real levels.
//
//   output_digests WORK_FOLDER [REAL_LEVELS_FOLDER]
#include <iostream>

#include "OutputDigests.h"

int main(int argc, char** argv) {
    if (argc < 2) {
        std::cerr << "usage: output_digests WORK_FOLDER [REAL_LEVELS_FOLDER]\n";
        return 2;
    }
    const digests::fs::path work = digests::fs::absolute(argv[1]);
    digests::fs::create_directories(work / "samples");
    for (const auto& file : samples::MakeSampleSet()) digests::WriteAll(work / "samples" / file.Name, file.Bytes);
    digests::RunSet("samples", work / "samples", work, std::cout);
    if (argc > 2 && digests::fs::exists(argv[2])) digests::RunSet("real", argv[2], work, std::cout);
    return 0;
}
