#include "ui/SoundEffectPlayer.h"

#include <QFile>
#include <QSoundEffect>
#include <QTimer>
#include <QUrl>

namespace cz {

void SoundEffectPlayer::play(const QByteArray &file)
{
    if (file.isEmpty() || !QFile::exists(QFile::decodeName(file)))
        return;
    auto *effect = new QSoundEffect(this);
    effect->setSource(QUrl::fromLocalFile(QFile::decodeName(file)));
    effect->setLoopCount(1);
    // Played when loaded; dropped when done or when it cannot be played.
    connect(effect, &QSoundEffect::statusChanged, effect, [effect] {
        if (effect->status() == QSoundEffect::Ready)
            effect->play();
        else if (effect->status() == QSoundEffect::Error)
            effect->deleteLater();
    });
    QTimer::singleShot(60000, effect, &QObject::deleteLater); // never loaded
    connect(effect, &QSoundEffect::playingChanged, effect, [effect] {
        if (!effect->isPlaying())
            effect->deleteLater();
    });
}

} // namespace cz
