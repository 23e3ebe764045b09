// The data folder and the folders and files below it.
#pragma once

#include <QByteArray>
#include <QString>

namespace cz {

struct DataFolder {
    QByteArray root;  // the data folder itself, no trailing slash

    QByteArray settingsFile() const { return root + "/Corvanta Zephtra.ini"; }
    QByteArray devices() const { return root + "/Devices"; }
    QByteArray logs() const { return root + "/Logs"; }
    QByteArray save() const { return root + "/Save"; }
    QByteArray data() const { return root + "/Data"; }
    QByteArray help() const { return root + "/Help"; }
    QByteArray templates() const { return root + "/Templates"; }
    QByteArray sounds() const { return root + "/Sounds"; }
    QByteArray deviceFile(const QByteArray &deviceName) const { return devices() + '/' + deviceName + ".ini"; }
    QByteArray internetErrorLog() const { return root + "/InternetError.log"; }
    QByteArray autoConfigErrorLog() const { return root + "/AutoConfError.log"; }
    QByteArray emailErrorLog() const { return root + "/EmailErrors.log"; }
    // The alert e-mail's working files, rewritten by every e-mail.
    QByteArray emailBodyFile() const { return root + "/email_body.tmp"; }
    QByteArray emailRecipientsFile() const { return root + "/email_recipients.tmp"; }
    QByteArray defaultEmailTemplate() const { return templates() + "/DefaultEmailTemplate.txt"; }
    QByteArray lockFile() const { return root + "/{5B2E91D4-7A0C-4F3E-9D21-6C8A0B3E5F17}.lock"; }

    // --data-dir, else $CORVANTA_DATA_DIR, else "$XDG_DATA_HOME/Corvanta Zephtra"
    // (XDG_DATA_HOME defaulting to ~/.local/share).
    static DataFolder locate(const QString &commandLineDir);
};

// True when `path` is a folder, or was made one now.
bool ensureFolder(const QByteArray &path);

// "The installation of Corvanta Zephtra is incomplete (log dir).\n Please contact Varnholt Technical Support."
QString incompleteInstallationMessage(const char *which);

// Copies the shipped templates and help page into the data folder where they
// are missing; an existing file is never replaced. Returns the files written.
int installDefaultFiles(const DataFolder &folder);

} // namespace cz
