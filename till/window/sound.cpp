#include "till/window/sound.h"

#include <QApplication>

namespace till::window {

namespace {

std::function<void()>& soundInForce()
{
    static std::function<void()> sound;
    return sound;
}

} // namespace

void soundRefusal()
{
    if (soundInForce())
        soundInForce()();
    else
        QApplication::beep();
}

void setRefusalSound(std::function<void()> sound) { soundInForce() = std::move(sound); }

} // namespace till::window
