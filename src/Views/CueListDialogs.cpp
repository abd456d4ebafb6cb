#include "Views/CueListDialogs.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>

using namespace Qt::StringLiterals;

namespace {

constexpr QStringView cueFileType = u"Running orders (*.trcue)";
/// Also those that are only read.
constexpr QStringView readableFileTypes = u"Running orders (*.trcue *.tarrowcues)";

/// A hundred thousand cues. Reading something much larger would hold up the show.
constexpr qint64 mostBytes = 16 << 20;

void writeFile(const QString& path, const QByteArray& bytes)
{
    // Opening a pipe or a device may never come back.
    if (QFileInfo::exists(path) && !QFileInfo(path).isFile())
        return;
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

/// Nothing when it cannot be read as a whole.
std::optional<QByteArray> readFile(const QString& path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || file.size() > mostBytes || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return std::nullopt;
    return bytes;
}

constexpr QStringView suffix = u"trcue";

/// Whatever name is chosen becomes that of a cue document. The default suffix alone would leave
/// "Show 24.11" as it is, and no panel would offer it to be imported.
class SavePanel final : public QFileDialog {
public:
    using QFileDialog::QFileDialog;

    void accept() override
    {
        const QFileInfo chosen(selectedFiles().value(0));
        // The system's own panels have no such field.
        auto* name = findChild<QLineEdit*>();
        if (name != nullptr && !chosen.isDir()
            && chosen.suffix().compare(suffix, Qt::CaseInsensitive) != 0)
            name->setText(u"%1.%2"_s.arg(name->text(), suffix));
        QFileDialog::accept();
    }
};

} // namespace

void CueListDialogs::saveCues(CueController& cues, QWidget* parent)
{
    auto* panel = new SavePanel(parent, u"Save Running Order"_s);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setAcceptMode(QFileDialog::AcceptSave);
    panel->setNameFilter(cueFileType.toString());
    panel->setDefaultSuffix(suffix.toString());
    panel->selectFile(u"Running Order.trcue"_s);
    QObject::connect(panel, &QFileDialog::fileSelected, parent,
        [&cues](const QString& path) { writeFile(path, cues.exportData()); });
    panel->open();
}

void CueListDialogs::importCues(CueController& cues, QWidget* parent)
{
    auto* panel = new QFileDialog(parent, u"Import Running Order"_s);
    panel->setAttribute(Qt::WA_DeleteOnClose);
    panel->setFileMode(QFileDialog::ExistingFile);
    panel->setNameFilter(readableFileTypes.toString());
    QObject::connect(panel, &QFileDialog::fileSelected, parent, [&cues](const QString& path) {
        if (const auto bytes = readFile(path))
            cues.replaceCues(*bytes);
    });
    panel->open();
}

void CueListDialogs::clearCues(CueController& cues, QWidget* parent)
{
    auto* alert = new QMessageBox(QMessageBox::Warning, QString(), u"Clear the running order?"_s,
        QMessageBox::NoButton, parent);
    alert->setAttribute(Qt::WA_DeleteOnClose);
    alert->setInformativeText(u"This removes all %1 cues and can’t be undone."_s.arg(
        QString::number(cues.cues.value().size())));
    QPushButton* clear = alert->addButton(u"Clear All"_s, QMessageBox::DestructiveRole);
    QPushButton* cancel = alert->addButton(u"Cancel"_s, QMessageBox::RejectRole);
    // Return cancels, wherever the focus is.
    clear->setAutoDefault(false);
    alert->setDefaultButton(cancel);
    alert->setEscapeButton(cancel);
    QObject::connect(clear, &QPushButton::clicked, parent, [&cues] {
        cues.currentCueID = std::nullopt;
        cues.cues = QList<Cue>();
    });
    alert->open();
}
