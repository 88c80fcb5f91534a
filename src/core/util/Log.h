#pragma once

#include <QString>

// One line per event through Qt's logging (stderr or the journal); the fixed texts are
// passed as they stand so that tests can expect them with QTest::ignoreMessage(QtInfoMsg, ...).
void quillonLog(const QString& line);
