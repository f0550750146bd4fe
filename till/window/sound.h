#pragma once

#include <functional>

namespace till::window {

/// The sound of something that was not taken; a word on the screen goes with it.
void soundRefusal();

/// Puts another sound in the place of the system's; none: the system's again.
void setRefusalSound(std::function<void()> sound);

} // namespace till::window
