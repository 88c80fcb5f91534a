#include "review/PreviewPane.h"

#include "model/FileInfoNode.h"
#include "review/FileIcons.h"
#include "util/CommonFuncs.h"

#include <QFile>
#include <QLabel>
#include <QPlainTextEdit>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>
#include <QtConcurrent/QtConcurrentRun>

PreviewPane::PreviewPane(QWidget* parent) : QWidget(parent), m_watcher(this)
{
    setObjectName(QStringLiteral("showPreview"));
    setAccessibleName(tr("Preview"));
    setMinimumWidth(200);

    m_stack = new QStackedWidget(this);
    m_picture = new QLabel(m_stack);
    m_picture->setAlignment(Qt::AlignCenter);
    m_picture->setAccessibleName(tr("Preview picture"));
    m_text = new QPlainTextEdit(m_stack);
    m_text->setReadOnly(true);
    m_text->setFocusPolicy(Qt::NoFocus);
    m_text->setAccessibleName(tr("Preview text"));
    m_text->setLineWrapMode(QPlainTextEdit::WidgetWidth);

    auto* iconPage = new QWidget(m_stack);
    auto* iconColumn = new QVBoxLayout(iconPage);
    m_icon = new QLabel(iconPage);
    m_icon->setAlignment(Qt::AlignCenter);
    m_iconText = new QLabel(iconPage);
    m_iconText->setAlignment(Qt::AlignCenter);
    m_iconText->setWordWrap(true);
    iconColumn->addStretch();
    iconColumn->addWidget(m_icon);
    iconColumn->addWidget(m_iconText);
    iconColumn->addStretch();
    m_stack->addWidget(m_picture);
    m_stack->addWidget(m_text);
    m_stack->addWidget(iconPage);
    m_stack->setCurrentWidget(iconPage);

    m_lblPreviewFileName = new QLabel(this);
    m_lblPreviewFileName->setObjectName(QStringLiteral("lblPreviewFileName"));
    m_lblPreviewFileName->setAccessibleName(tr("Previewed file name"));
    m_lblPreviewFileName->setAlignment(Qt::AlignCenter);
    m_lblPreviewFileName->setWordWrap(true);
    QFont bold = m_lblPreviewFileName->font();
    bold.setBold(true);
    m_lblPreviewFileName->setFont(bold);
    m_lblPreviewDateTime = new QLabel(this);
    m_lblPreviewDateTime->setObjectName(QStringLiteral("lblPreviewDateTime"));
    m_lblPreviewDateTime->setAccessibleName(tr("Previewed file date"));
    m_lblPreviewDateTime->setAlignment(Qt::AlignCenter);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->addWidget(m_stack, 1);
    column->addWidget(m_lblPreviewFileName);
    column->addWidget(m_lblPreviewDateTime);

    connect(&m_watcher, &QFutureWatcher<PreviewContent>::finished, this, &PreviewPane::onBuilt);
}

PreviewPane::~PreviewPane()
{
    // The build holds no pointer to us, but its result must not arrive at a dead watcher.
    m_watcher.waitForFinished();
}

void PreviewPane::updatePreview_MainThread(const FileInfoNode* file)
{
    ++m_generation;
    m_pending.reset();
    if (!file) {
        m_lblPreviewFileName->clear();
        m_lblPreviewDateTime->clear();
        m_picture->clear();
        m_text->clear();
        m_icon->clear();
        m_iconText->clear();
        m_shownKind.reset();
        m_shownPath.clear();
        return;
    }
    const QString path = QFile::decodeName(file->filePath);
    m_lblPreviewFileName->setText(path.mid(path.lastIndexOf(QLatin1Char('/')) + 1));
    m_lblPreviewDateTime->setText(
        CommonFuncs::getDateTimeStringFromDate(CommonFuncs::dateFromSeconds(file->createDate)));
    if (m_watcher.isRunning())
        m_pending = file->filePath; // replaces any older waiting request
    else
        start(file->filePath);
}

QSize PreviewPane::pictureSize() const
{
    const QSize area = m_stack->size().isEmpty() ? QSize(320, 320) : m_stack->size();
    return area * devicePixelRatioF();
}

void PreviewPane::start(const QByteArray& path)
{
    const quint64 generation = m_generation;
    const QSize size = pictureSize();
    m_watcher.setFuture(QtConcurrent::run(
        [path, size, generation] { return PreviewBuilder::build(path, size, generation); }));
}

void PreviewPane::onBuilt()
{
    const PreviewContent content = m_watcher.result();
    if (m_pending) {
        const QByteArray next = *m_pending;
        m_pending.reset();
        start(next);
    }
    if (content.generation == m_generation)
        display(content);
}

void PreviewPane::display(const PreviewContent& content)
{
    m_shownKind = content.kind;
    m_shownPath = content.path;
    switch (content.kind) {
    case PreviewContent::Kind::Image: {
        QPixmap picture = QPixmap::fromImage(content.image);
        picture.setDevicePixelRatio(devicePixelRatioF());
        m_picture->setPixmap(picture);
        m_picture->setAccessibleDescription(tr("Preview of %1").arg(QFile::decodeName(content.path)));
        m_stack->setCurrentWidget(m_picture);
        break;
    }
    case PreviewContent::Kind::Text:
        m_text->setPlainText(content.text);
        m_stack->setCurrentWidget(m_text);
        break;
    case PreviewContent::Kind::Icon: {
        const QIcon icon = FileIcons::iconForFile(content.path);
        m_icon->setPixmap(icon.pixmap(128, 128));
        const QString kind = FileIcons::kindOfFile(content.path);
        m_iconText->setText(kind.isEmpty() ? tr("No preview available") : kind);
        m_stack->setCurrentWidget(m_icon->parentWidget());
        break;
    }
    case PreviewContent::Kind::Missing:
        m_icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(64, 64));
        m_iconText->setText(content.message);
        m_stack->setCurrentWidget(m_icon->parentWidget());
        break;
    }
    Q_EMIT previewShown(content.path);
}
