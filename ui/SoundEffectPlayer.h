// Alert sounds through the system's audio output.
#pragma once

#include "alerts/SoundPlayer.h"

#include <QObject>

namespace cz {

class SoundEffectPlayer final : public QObject, public SoundPlayer {
    Q_OBJECT
public:
    explicit SoundEffectPlayer(QObject *parent = nullptr) : QObject(parent) {}
    // Once, not looped; each sound is dropped when it has played. A file
    // that cannot be played, or no audio output, stays silent.
    void play(const QByteArray &file) override;
};

} // namespace cz
