#include "review/PhotosAlbum.h"

#include "platform/Platform.h"
#include "util/Log.h"

#include <QFile>
#include <QThread>

namespace {

const QString kPhotosBundle = QStringLiteral("com.apple.Photos");
// Large libraries take long to answer.
constexpr int kScriptTimeoutMs = 3600 * 1000;

QStringList lines(const std::optional<QByteArray>& output)
{
    if (!output)
        return {};
    return QString::fromUtf8(*output).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

} // namespace

PhotosAlbum::PhotosAlbum(const QString& albumName) : m_albumName(albumName) {}

bool PhotosAlbum::isAlbumCreated()
{
    // Names come back one a line; the album name is compared here, not spliced into a script.
    const QString script = QStringLiteral("on run argv\n"
                                          "tell application \"Photos\"\n"
                                          "set AppleScript's text item delimiters to linefeed\n"
                                          "return (name of every container) as text\n"
                                          "end tell\n"
                                          "end run\n");
    for (const QString& name : lines(Platform::runAppleScript(script, {}, kScriptTimeoutMs))) {
        if (QString::localeAwareCompare(name, m_albumName) == 0)
            return true;
    }
    return false;
}

bool PhotosAlbum::createDuplicatesMarkedForTrashAlbum()
{
    if (!Platform::isApplicationRunning(kPhotosBundle))
        return false;
    QThread::sleep(1);
    const QString script = QStringLiteral("on run argv\n"
                                          "tell application \"Photos\"\n"
                                          "delay 3\n"
                                          "make new album named (item 1 of argv)\n"
                                          "end tell\n"
                                          "end run\n");
    return Platform::runAppleScript(script, {m_albumName}, kScriptTimeoutMs).has_value();
}

QSet<QString> PhotosAlbum::knownMediaItems(const QStringList& uuids)
{
    const QString script = QStringLiteral("on run argv\n"
                                          "set found to {}\n"
                                          "tell application \"Photos\"\n"
                                          "repeat with anId in argv\n"
                                          "try\n"
                                          "set m to media item id (anId as text)\n"
                                          "set end of found to (anId as text)\n"
                                          "end try\n"
                                          "end repeat\n"
                                          "end tell\n"
                                          "set AppleScript's text item delimiters to linefeed\n"
                                          "return found as text\n"
                                          "end run\n");
    const QStringList known = lines(Platform::runAppleScript(script, uuids, kScriptTimeoutMs));
    return QSet<QString>(known.begin(), known.end());
}

void PhotosAlbum::addToAlbum(const QStringList& uuids)
{
    const QString script = QStringLiteral("on run argv\n"
                                          "tell application \"Photos\"\n"
                                          "set theAlbum to first album whose name is (item 1 of argv)\n"
                                          "set theItems to {}\n"
                                          "repeat with i from 2 to count of argv\n"
                                          "set end of theItems to media item id (item i of argv)\n"
                                          "end repeat\n"
                                          "add theItems to theAlbum\n"
                                          "end tell\n"
                                          "end run\n");
    Platform::runAppleScript(script, QStringList{m_albumName} + uuids, kScriptTimeoutMs);
}

bool PhotosAlbum::quitAndopenNewPhotosLibrary(const QByteArray& libraryPath)
{
    const QString script =
        QStringLiteral("on run argv\n"
                       "tell application \"Photos\" to open (POSIX file (item 1 of argv))\n"
                       "end run\n");
    if (!Platform::runAppleScript(script, {QFile::decodeName(libraryPath)}, kScriptTimeoutMs)) {
        quillonLog(
            QStringLiteral("Exception %1").arg(QStringLiteral("the Photos library could not be opened")));
        return false;
    }
    // The application needs a moment before the library is open.
    QThread::sleep(1);
    return true;
}
