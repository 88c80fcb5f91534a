#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

struct FileInfoNode;

// The name search's test: does a file's name contain the text, ignoring case? Plain ASCII on
// both sides (the common case) is compared byte-wise; anything else through Unicode case
// folding, as a QString comparison would.
class FileNameMatcher
{
public:
    explicit FileNameMatcher(const QString& needle);
    bool operator()(const FileInfoNode* node) const;

    // The last path component of the file, without copying.
    static QByteArrayView fileNameOf(const FileInfoNode* node);

private:
    QString m_needle;
    QByteArray m_latin1;
    bool m_ascii;
};
