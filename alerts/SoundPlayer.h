// Plays an alert sound once, without waiting; implemented where a sound
// device can be reached. A missing file or device stays silent.
#pragma once

#include <QByteArray>

namespace cz {

class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;
    virtual void play(const QByteArray &file) = 0;
};

} // namespace cz
