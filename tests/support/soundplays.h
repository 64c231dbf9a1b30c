// SPDX-License-Identifier: MIT
#pragma once

// Stands in for QSound::play(), which tells nobody whether it starts a sound or plays a ringing one anew.
// Plays the sound, too. Returns how often that was called so far.
int soundPlays();
