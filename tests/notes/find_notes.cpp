// Finds the notes of the simulated camera in recordings: find_notes FILE ... says for each file how long it
// is, how many notes stand in it and how far off their places the worst one is. Status 1 if any is wrong.

#include "notes/note_finder.h"

#include <cstdio>

int main(int argc, char** argv)
{
    using namespace larkmoor::test;
    int status = argc < 2 ? 2 : 0;
    for (int i = 1; i < argc; ++i)
    {
        const DecodedSound sound = DecodeSound(argv[i]);
        const NoteJudgement judged = JudgeNotes(FindNotes(sound.samples, sound.sampleRate));
        const std::string fault = sound.fault.empty() ? judged.fault : sound.fault;
        std::printf("%s: %.3f s, %d whole notes, the worst %.0f ms off its place, a grid from %.3f s%s%s\n",
                    argv[i],
                    sound.sampleRate == 0 ? 0 : static_cast<double>(sound.samples.size()) / sound.sampleRate,
                    judged.notes, 1000 * judged.worstPlace, sound.begin + judged.gridBegin,
                    fault.empty() ? "" : ": ", fault.c_str());
        if (!fault.empty())
            status = 1;
    }
    return status;
}
