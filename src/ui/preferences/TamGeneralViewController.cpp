#include "preferences/TamGeneralViewController.h"

#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "preferences/GeneralPreferences.h"
#include "preferences/PreferencesIcons.h"
#include "preferences/PreferencesNotifier.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

namespace {

QLabel* sectionTitle(const QString& text)
{
    auto* label = new QLabel(text);
    QFont font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

QLabel* explanation(const QString& text)
{
    auto* label = new QLabel(text);
    label->setWordWrap(true);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 0.9);
    label->setFont(font);
    label->setForegroundRole(QPalette::PlaceholderText);
    return label;
}

} // namespace

TamGeneralViewController::TamGeneralViewController(Settings& settings, QObject* parent)
    : QObject(parent), m_settings(settings)
{
    connect(&PreferencesNotifier::instance(), &PreferencesNotifier::preferencesResetToDefaults, this,
            &TamGeneralViewController::updateControlsFromUserDefaults);
}

TamGeneralViewController::~TamGeneralViewController()
{
    delete m_view;
}

QIcon TamGeneralViewController::toolbarItemImage() const
{
    return PreferencesIcons::general();
}

QString TamGeneralViewController::toolbarItemLabel() const
{
    return tr("General");
}

QWidget* TamGeneralViewController::view()
{
    if (!m_view)
        awakeFromNib();
    return m_view;
}

QWidget* TamGeneralViewController::initialKeyView()
{
    view();
    return m_spinMinimumSize;
}

bool TamGeneralViewController::commitEditing()
{
    // A number still being typed is taken as it stands.
    if (m_spinMinimumSize)
        m_spinMinimumSize->interpretText();
    return true;
}

void TamGeneralViewController::awakeFromNib()
{
    auto* view = new QWidget;
    view->setObjectName(QStringLiteral("TamGeneralView"));
    m_view = view;

    auto* grid = new QGridLayout;
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(6);
    grid->setColumnMinimumWidth(0, 16);
    grid->setColumnStretch(2, 1);
    int row = 0;
    auto addSection = [&](const QString& title) {
        if (row > 0)
            grid->setRowMinimumHeight(row++, 10);
        grid->addWidget(sectionTitle(title), row++, 0, 1, 3);
    };

    // Scanning.
    addSection(tr("Scanning"));
    auto* sizeLabel = new QLabel(tr("Minimum file size:"));
    m_spinMinimumSize = new QSpinBox;
    m_spinMinimumSize->setObjectName(QStringLiteral("spinMinimumFileSize"));
    m_spinMinimumSize->setRange(0, 999999);
    m_spinMinimumSize->setAlignment(Qt::AlignRight);
    m_spinMinimumSize->setMinimumWidth(90);
    m_spinMinimumSize->setAccessibleName(tr("Minimum file size"));
    sizeLabel->setBuddy(m_spinMinimumSize);
    m_cmbSizeUnit = new QComboBox;
    m_cmbSizeUnit->setObjectName(QStringLiteral("cmbFileSizeUnit"));
    m_cmbSizeUnit->addItem(tr("KB"), 0);
    m_cmbSizeUnit->addItem(tr("MB"), 1);
    m_cmbSizeUnit->setAccessibleName(tr("Unit of the minimum file size"));
    auto* sizeRow = new QHBoxLayout;
    sizeRow->setSpacing(6);
    sizeRow->addWidget(m_spinMinimumSize);
    sizeRow->addWidget(m_cmbSizeUnit);
    sizeRow->addStretch(1);
    grid->addWidget(sizeLabel, row, 1, Qt::AlignRight | Qt::AlignVCenter);
    grid->addLayout(sizeRow, row++, 2);
    grid->addWidget(explanation(tr("Smaller files are skipped: they are not compared and never listed as "
                                   "duplicates. A change applies from the next scan.")),
                    row++, 2);

    // Automatic marking.
    addSection(tr("Automatic marking"));
    auto* keepLabel = new QLabel(tr("In each group, keep:"));
    m_rbKeepOldest = new QRadioButton(tr("The oldest copy"));
    m_rbKeepOldest->setObjectName(QStringLiteral("rbKeepOldest"));
    m_rbKeepNewest = new QRadioButton(tr("The newest copy"));
    m_rbKeepNewest->setObjectName(QStringLiteral("rbKeepNewest"));
    auto* keepGroup = new QButtonGroup(view);
    keepGroup->addButton(m_rbKeepOldest, kKeepOldest);
    keepGroup->addButton(m_rbKeepNewest, kKeepNewest);
    grid->addWidget(keepLabel, row, 1, Qt::AlignRight | Qt::AlignVCenter);
    grid->addWidget(m_rbKeepOldest, row++, 2);
    grid->addWidget(m_rbKeepNewest, row++, 2);
    grid->addWidget(explanation(tr("Every other copy of the group is marked. Copies are compared by their "
                                   "creation dates.")),
                    row++, 2);

    m_btnAutoMarkPhotoLib =
        new QCheckBox(AppGlobals::isPhotosAppInstalled ? QStringLiteral("Auto mark items of Photos library")
                                                       : QStringLiteral("Auto mark items of iPhoto library"));
    m_btnAutoMarkPhotoLib->setObjectName(QStringLiteral("btnAutoMarkPhotoLib"));
    m_btnAutoMarkPhotoLib->setToolTip(
        tr("When on, copies inside a photo library are marked and the plain file "
           "is kept. When off, the library copy is kept."));
    grid->addWidget(m_btnAutoMarkPhotoLib, row++, 2);

    // Confirmations.
    addSection(tr("Confirmations"));
    m_chkNoAutoMarkDialog = new QCheckBox(tr("Mark duplicates automatically without asking first"));
    m_chkNoAutoMarkDialog->setObjectName(QStringLiteral("chkDoNotShowAutoMarkDialog"));
    m_chkNoTrashConfirmation = new QCheckBox(tr("Move marked files to the Trash without asking first"));
    m_chkNoTrashConfirmation->setObjectName(QStringLiteral("chkDoNotShowConfirmationDialogOnTrash"));
    grid->addWidget(m_chkNoAutoMarkDialog, row++, 1, 1, 2);
    grid->addWidget(m_chkNoTrashConfirmation, row++, 1, 1, 2);

    // Cache and defaults.
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    auto* clearButton = new QPushButton(tr("Clear Cache"));
    clearButton->setObjectName(QStringLiteral("btnClearCache"));
    clearButton->setToolTip(tr("Forgets the stored fingerprints of scanned files; the next scan reads "
                               "every file again. No file of yours is touched."));
    clearButton->setAutoDefault(false);
    auto* resetButton = new QPushButton(tr("Restore Defaults"));
    resetButton->setObjectName(QStringLiteral("btnResetDefaults"));
    resetButton->setToolTip(tr("Puts every setting of this window, the exclusion list included, back to "
                               "its original value."));
    resetButton->setAutoDefault(false);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(clearButton);
    buttons->addStretch(1);
    buttons->addWidget(resetButton);

    auto* outer = new QVBoxLayout(view);
    outer->setContentsMargins(24, 18, 24, 18);
    outer->setSpacing(12);
    outer->addLayout(grid);
    outer->addStretch(1);
    outer->addWidget(line);
    outer->addLayout(buttons);

    updateControlsFromUserDefaults();

    connect(m_spinMinimumSize, &QSpinBox::valueChanged, this,
            [this](int value) { store(Settings::kMinimumFileSize, value); });
    connect(m_cmbSizeUnit, &QComboBox::currentIndexChanged, this,
            [this](int index) { store(Settings::kFileSizeUnit, m_cmbSizeUnit->itemData(index).toInt()); });
    connect(keepGroup, &QButtonGroup::idToggled, this, [this](int id, bool checked) {
        if (checked)
            store(Settings::kAutoSelectOption, id);
    });
    connect(m_btnAutoMarkPhotoLib, &QCheckBox::toggled, this,
            [this](bool on) { store(Settings::kAutoMarkPhotos, on); });
    connect(m_chkNoAutoMarkDialog, &QCheckBox::toggled, this,
            [this](bool on) { store(Settings::kDoNotShowAutoMarkDialog, on); });
    connect(m_chkNoTrashConfirmation, &QCheckBox::toggled, this,
            [this](bool on) { store(Settings::kDoNotShowConfirmationDialogOnTrash, on); });
    connect(clearButton, &QPushButton::clicked, this, &TamGeneralViewController::clearCache);
    connect(resetButton, &QPushButton::clicked, this, &TamGeneralViewController::resetDefaultSetiing);

    view->resize(view->sizeHint().expandedTo(QSize(520, 0)));
}

void TamGeneralViewController::store(const QString& key, const QVariant& value)
{
    m_settings.setValue(key, value);
    m_settings.synchronize();
}

void TamGeneralViewController::updateControlsFromUserDefaults()
{
    if (!m_view)
        return;
    const QSignalBlocker b1(m_spinMinimumSize);
    const QSignalBlocker b2(m_cmbSizeUnit);
    const QSignalBlocker b3(m_rbKeepOldest);
    const QSignalBlocker b4(m_rbKeepNewest);
    const QSignalBlocker b5(m_btnAutoMarkPhotoLib);
    const QSignalBlocker b6(m_chkNoAutoMarkDialog);
    const QSignalBlocker b7(m_chkNoTrashConfirmation);
    const QSignalBlocker b8(m_rbKeepOldest->group());

    m_spinMinimumSize->setValue(
        int(std::clamp<qint64>(m_settings.minimumFileSize(), 0, m_spinMinimumSize->maximum())));
    m_cmbSizeUnit->setCurrentIndex(m_settings.fileSizeUnit() == 1 ? 1 : 0);
    if (m_settings.autoSelectOption() == kKeepOldest)
        m_rbKeepOldest->setChecked(true);
    else
        m_rbKeepNewest->setChecked(true);
    m_btnAutoMarkPhotoLib->setChecked(m_settings.autoMarkPhotos());
    m_chkNoAutoMarkDialog->setChecked(m_settings.doNotShowAutoMarkDialog());
    m_chkNoTrashConfirmation->setChecked(m_settings.doNotShowConfirmationDialogOnTrash());
}

void TamGeneralViewController::clearCache()
{
    GeneralPreferences::clearCache();
}

void TamGeneralViewController::resetDefaultSetiing()
{
    GeneralPreferences::resetDefaultSetiing(m_settings);
}
