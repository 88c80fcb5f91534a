#pragma once

#include "review/PreviewBuilder.h"

#include <QFutureWatcher>
#include <QWidget>
#include <optional>

class QLabel;
class QPlainTextEdit;
class QStackedWidget;
struct FileInfoNode;

// The preview beside the tables: a picture, a PDF's first page, the start of a text file or
// the file's icon with its kind, and its name and date below. The preview is built on a
// worker thread; only the latest request is ever shown, and at most one build runs with one
// waiting, so holding an arrow key through a long list queues nothing.
class PreviewPane : public QWidget
{
    Q_OBJECT
public:
    explicit PreviewPane(QWidget* parent = nullptr);
    ~PreviewPane() override;

    // Null clears the pane and both labels.
    void updatePreview_MainThread(const FileInfoNode* file);

    QLabel* lblPreviewFileName() const { return m_lblPreviewFileName; }
    QLabel* lblPreviewDateTime() const { return m_lblPreviewDateTime; }
    // What the pane shows now (nothing before the first preview is in).
    std::optional<PreviewContent::Kind> shownKind() const { return m_shownKind; }
    QByteArray shownPath() const { return m_shownPath; }
    bool isBuilding() const { return m_watcher.isRunning(); }

Q_SIGNALS:
    // A preview was put on screen (stale ones never are).
    void previewShown(const QByteArray& path);

private:
    void start(const QByteArray& path);
    void onBuilt();
    void display(const PreviewContent& content);
    QSize pictureSize() const;

    QStackedWidget* m_stack = nullptr;
    QLabel* m_picture = nullptr;
    QPlainTextEdit* m_text = nullptr;
    QLabel* m_icon = nullptr;
    QLabel* m_iconText = nullptr;
    QLabel* m_lblPreviewFileName = nullptr;
    QLabel* m_lblPreviewDateTime = nullptr;
    QFutureWatcher<PreviewContent> m_watcher;
    quint64 m_generation = 0;
    std::optional<QByteArray> m_pending;
    std::optional<PreviewContent::Kind> m_shownKind;
    QByteArray m_shownPath;
};
