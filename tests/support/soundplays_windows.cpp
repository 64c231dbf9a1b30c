// SPDX-License-Identifier: MIT
#include "support/soundplays.h"

#include <QSound>
#include <QSoundEffect>

namespace {

int plays = 0;

void play(QSound* sound)
{
    ++plays;
    sound->findChild<QSoundEffect*>()->play();
}

} // namespace

// The pointer through which code calls QSound::play() in its DLL. The linker takes it from the library's
// import file only when nobody else has it.
extern void (*const importOfPlay)(QSound*) __asm__("__imp__ZN6QSound4playEv");
void (*const importOfPlay)(QSound*) = play;

int soundPlays()
{
    return plays;
}
