#include "QtPlatform.h"

#include <QApplication>
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
}  // namespace

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
    return !answerOffscreen_ && QGuiApplication::platformName() == QLatin1String("offscreen");
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

void QtPlatform::DoEvents() { QCoreApplication::processEvents(); }

void QtPlatform::RepaintLog() {
    if (log_) log_->repaint();
}

bool QtPlatform::StartProgram(const std::string& commandLine, const std::string& workingFolder) {
    return LaunchProgram(commandLine, workingFolder, false);
}

bool QtPlatform::RunProgramAndWait(const std::string& commandLine, const std::string& workingFolder) {
    return LaunchProgram(commandLine, workingFolder, true);
}
