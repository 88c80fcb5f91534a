#include "util/Log.h"

#include <QDebug>

void quillonLog(const QString& line)
{
    qInfo().noquote() << line;
}
