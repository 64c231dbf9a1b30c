// SPDX-License-Identifier: MIT
#include "endsignals.h"

class EndSignals::Pipe { };

EndSignals::EndSignals() = default;

EndSignals::~EndSignals() = default;
