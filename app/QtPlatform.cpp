#include "QtPlatform.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QGuiApplication>
#include <QInputDialog>
#include <QMessageBox>

#include "frontend/ProcessLauncher.h"

namespace {
QString Title(const std::string& title) {
    // A box without a title of its own carries the program's name.
    return title.empty() ? QCoreApplication::applicationName() : QString::fromStdString(title);
}

std::optional<std::string> Chosen(const QString& path) {
    if (path.isEmpty()) return std::nullopt;
    return path.toStdString();
}

// Keeps a window open while an unattended run goes on: its unload must not close the files
// under a running conversion. The run ends the process itself.
class CloseGuard : public QObject {
protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Close) return QObject::eventFilter(watched, event);
        event->ignore();
        return true;
    }
};
}  // namespace

QtPlatform::QtPlatform(bool answerOffscreen) : answerOffscreen_(answerOffscreen) {}

QtPlatform::~QtPlatform() {
    if (window_ && closeGuard_) window_->removeEventFilter(closeGuard_.get());
}

void QtPlatform::SetUnattendedRun(bool on) {
    unattendedRun_ = on;
    GuardWindow();
}

void QtPlatform::SetWindow(QWidget* window) {
    if (window_ && closeGuard_) window_->removeEventFilter(closeGuard_.get());
    window_ = window;
    GuardWindow();
}

void QtPlatform::GuardWindow() {
    if (!window_) return;
    if (!closeGuard_) closeGuard_ = std::make_unique<CloseGuard>();
    window_->removeEventFilter(closeGuard_.get());
    if (unattendedRun_) window_->installEventFilter(closeGuard_.get());
}

QString QtFileFilter(const std::string& filter) {
    QStringList parts = QString::fromStdString(filter).split('|');
    QStringList out;
    for (int i = 0; i + 1 < parts.size(); i += 2) {
        QString label = parts[i], pattern = parts[i + 1];
        // Qt reads the patterns from the parentheses of the label.
        out << (label.contains("(" + pattern + ")") ? label : label + " (" + pattern + ")");
    }
    return out.join(";;");
}

bool QtPlatform::Unattended() const {
    return unattendedRun_ || (!answerOffscreen_ && QGuiApplication::platformName() == QLatin1String("offscreen"));
}

void QtPlatform::MessageBox(const std::string& text, const std::string& title, BoxIcon icon) {
    if (Unattended()) return headless_.MessageBox(text, title, icon);
    QMessageBox::Icon qicon = QMessageBox::NoIcon;
    switch (icon) {
        case BoxIcon::Critical: qicon = QMessageBox::Critical; break;
        case BoxIcon::Exclamation: qicon = QMessageBox::Warning; break;
        case BoxIcon::Information: qicon = QMessageBox::Information; break;
        case BoxIcon::Question: qicon = QMessageBox::Question; break;
        case BoxIcon::None: break;
    }
    QMessageBox box(qicon, Title(title), QString::fromStdString(text), QMessageBox::Ok, window_);
    box.exec();
}

std::optional<std::string> QtPlatform::InputBox(const std::string& prompt, const std::string& title,
                                                const std::string& defaultText) {
    if (Unattended()) return headless_.InputBox(prompt, title, defaultText);
    bool ok = false;
    QString answer = QInputDialog::getText(window_, Title(title), QString::fromStdString(prompt), QLineEdit::Normal,
                                           QString::fromStdString(defaultText), &ok);
    if (!ok) return std::nullopt;
    return answer.toStdString();
}

bool QtPlatform::AskYesNo(const std::string& text, const std::string& title) {
    if (Unattended()) return headless_.AskYesNo(text, title);
    QMessageBox box(QMessageBox::Question, Title(title), QString::fromStdString(text),
                    QMessageBox::Yes | QMessageBox::No, window_);
    box.setDefaultButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}

std::optional<std::string> QtPlatform::PickFolder(const std::string& title) {
    if (Unattended()) return headless_.PickFolder(title);
    return Chosen(QFileDialog::getExistingDirectory(window_, QString::fromStdString(title)));
}

std::optional<std::string> QtPlatform::OpenFileDialog(const std::string& title, const std::string& filter) {
    if (Unattended()) return headless_.OpenFileDialog(title, filter);
    return Chosen(QFileDialog::getOpenFileName(window_, QString::fromStdString(title), QString(), QtFileFilter(filter)));
}

std::optional<std::string> QtPlatform::SaveFileDialog(const std::string& title, const std::string& filter) {
    if (Unattended()) return headless_.SaveFileDialog(title, filter);
    return Chosen(QFileDialog::getSaveFileName(window_, QString::fromStdString(title), QString(), QtFileFilter(filter)));
}

void QtPlatform::Beep() { QApplication::beep(); }

void QtPlatform::DoEvents() {
    // In an unattended run the user's input waits, as it does for the whole run.
    QCoreApplication::processEvents(unattendedRun_ ? QEventLoop::ExcludeUserInputEvents : QEventLoop::AllEvents);
}

void QtPlatform::RepaintLog() {
    // An unattended run starts its conversion right after the window was shown, before the
    // toolkit had a turn to map and paint it; each log line gives it one, without the user's
    // input, so that nothing re-enters the running conversion.
    if (unattendedRun_) QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
    if (log_) log_->repaint();
}

bool QtPlatform::StartProgram(const std::string& commandLine, const std::string& workingFolder) {
    return LaunchProgram(commandLine, workingFolder, false);
}

bool QtPlatform::RunProgramAndWait(const std::string& commandLine, const std::string& workingFolder) {
    return LaunchProgram(commandLine, workingFolder, true);
}

std::string QtPlatform::StartProblem(const std::string& commandLine) { return LaunchProblem(commandLine); }
