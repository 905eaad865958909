// Drives the real Qt window (offscreen or under a virtual X server) and the built program.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include "MainWindow.h"
#include "QtPlatform.h"
#include "frontend/Program.h"
#include "frontend/Settings.h"
#include "frontend/Startup.h"
#include "support/TestFolder.h"

namespace {
using JobList = std::vector<std::array<std::string, 4>>;

// A settings file of one job per entry (source, base, new, name) and a folder.
std::vector<uint8_t> SettingsWith(const std::vector<std::array<std::string, 4>>& jobs, const std::string& folder) {
    std::vector<uint8_t> b = {0xCD, 0, 0, 0xCD, static_cast<uint8_t>(jobs.size())};
    auto text = [&b](const std::string& s) {
        for (size_t i = 0; i < 256; ++i) b.push_back(static_cast<uint8_t>(i < s.size() ? s[i] : ' '));
    };
    for (const auto& job : jobs) {
        for (const std::string& s : job) text(s);
        b.insert(b.end(), 13, 0);   // options
        b.insert(b.end(), 256, 0);  // reserved
    }
    text(folder);
    return b;
}

struct Window {
    TestFolder dir;
    QtPlatform platform{true};
    std::unique_ptr<Program> prog;
    std::unique_ptr<MainWindow> window;

    explicit Window(const std::vector<std::array<std::string, 4>>& jobs = {}) {
        WriteFileBytes(dir / "settings.dat", SettingsWith(jobs, dir.str()));
        Open();
    }
    void Open() {
        window.reset();
        prog = std::make_unique<Program>(platform, dir.str());
        window = std::make_unique<MainWindow>(*prog, platform);
        Form_Load(*prog);
    }
    template <class T>
    T* W(const char* name) {
        T* w = qobject_cast<T*>(window->Widget(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    void Type(QLineEdit* edit, const QString& keys) {
        for (QChar c : keys) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, QString(c));
            QApplication::sendEvent(edit, &press);
        }
    }
    void Mouse(QWidget* w, Qt::MouseButton button) {
        QPointF at(8, w->height() / 2.0);
        QMouseEvent press(QEvent::MouseButtonPress, at, w->mapToGlobal(at), button, button, Qt::NoModifier);
        QApplication::sendEvent(w, &press);
        QMouseEvent release(QEvent::MouseButtonRelease, at, w->mapToGlobal(at), button, Qt::NoButton,
                            Qt::NoModifier);
        QApplication::sendEvent(w, &release);
    }
};

// Answers the next modal text prompt with a text.
void AnswerPrompt(const QString& text, QString* promptSeen = nullptr) {
    QTimer::singleShot(0, [text, promptSeen] {
        auto* dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        if (promptSeen) *promptSeen = dialog->labelText() + "|" + dialog->windowTitle();
        dialog->setTextValue(text);
        dialog->accept();
    });
}
}  // namespace

TEST(MainWindow, ControlsStandInTableOrderWithTheirCaptionsAndPlaces) {
    Window w;
    EXPECT_EQ(w.window->windowTitle(), "MORV Level Compiler BETA 4");
    QStringList order;
    for (QObject* child : w.window->findChildren<QWidget*>()) {
        if (!child->objectName().isEmpty() && w.window->Widget(child->objectName()) == child)
            order << child->objectName();
    }
    QStringList expected;
    for (const ControlPlace& place : Form1::Layout()) expected << QString::fromStdString(place.Name);
    EXPECT_EQ(order, expected);
    for (const ControlPlace& place : Form1::Layout()) {
        QWidget* widget = w.window->Widget(QString::fromStdString(place.Name));
        if (place.Kind == "dialog" || place.Kind == "zlib") continue;
        EXPECT_EQ(widget->geometry(), QRect(w.window->Px(place.Left), w.window->Px(place.Top), w.window->Px(place.Width),
                                            w.window->Px(place.Height)))
            << place.Name;
        QString caption = QString::fromStdString(place.Caption);
        if (auto* b = qobject_cast<QPushButton*>(widget)) EXPECT_EQ(b->text(), caption);
        if (auto* g = qobject_cast<QGroupBox*>(widget)) EXPECT_EQ(g->title(), caption);
        if (auto* c = qobject_cast<QCheckBox*>(widget)) EXPECT_EQ(c->text(), caption);
        if (auto* l = qobject_cast<QLabel*>(widget)) EXPECT_EQ(l->text(), caption);
        // Out of sight right of the client area.
        EXPECT_EQ(widget->isVisibleTo(w.window.get()), !(place.Parent.empty() && place.Left >= 10200)) << place.Name;
    }
    EXPECT_FALSE(w.W<QPushButton>("Command13")->isEnabled());
    EXPECT_EQ(w.W<QComboBox>("Combo1")->count(), 5);
    EXPECT_EQ(w.W<QComboBox>("Combo2")->currentText(), "0 - No weather");
    EXPECT_TRUE(w.W<QCheckBox>("Check3")->isChecked());
    // No jobs yet: the frames are greyed.
    EXPECT_FALSE(w.W<QGroupBox>("Frame1")->isEnabled());
    EXPECT_EQ(w.window->size(), QSize(w.window->Px(10200), w.window->Px(8895)));
}

TEST(MainWindow, AddingAJobThroughThePromptOpensTheFrames) {
    Window w;
    QString seen;
    AnswerPrompt("Cave", &seen);
    w.W<QPushButton>("Command8")->click();
    EXPECT_EQ(seen, "Insert level name:|Level name");
    QListWidget* ll = w.W<QListWidget>("ll");
    ASSERT_EQ(ll->count(), 1);
    EXPECT_EQ(ll->item(0)->text(), "Cave");
    EXPECT_EQ(ll->currentRow(), -1);
    EXPECT_TRUE(w.W<QGroupBox>("Frame1")->isEnabled());
    EXPECT_EQ(w.prog->front.Jobs.at(0).JobName.Text(), "Cave");
}

TEST(MainWindow, TypingInTheBoxesStoresIntoTheSelectedJob) {
    Window w(JobList{{"/a/src.tr4", "/a/base.tr2", "/a/new.tr2", "One"}});
    QLineEdit* text4 = w.W<QLineEdit>("Text4");
    EXPECT_EQ(w.W<QListWidget>("ll")->currentRow(), 0);
    EXPECT_EQ(w.W<QLineEdit>("Text1")->text(), "/a/src.tr4");
    text4->selectAll();
    QKeyEvent erase(QEvent::KeyPress, Qt::Key_Backspace, Qt::NoModifier);
    QApplication::sendEvent(text4, &erase);
    EXPECT_EQ(text4->text(), "0");  // an emptied box gets the stored value back
    text4->selectAll();
    w.Type(text4, "300");
    EXPECT_EQ(text4->text(), "30");
    EXPECT_EQ(w.prog->front.Jobs[0].UvRange, 30);
}

TEST(MainWindow, CheckBoxesTakeTheFlagOnMouseDownWithAnyButton) {
    Window w(JobList{{"/a/src.tr4", "/a/base.tr2", "/a/new.tr2", "One"}});
    QCheckBox* check1 = w.W<QCheckBox>("Check1");
    ASSERT_FALSE(check1->isChecked());
    w.Mouse(check1, Qt::RightButton);
    EXPECT_FALSE(check1->isChecked());
    EXPECT_EQ(w.prog->front.Jobs[0].EraseItems, -1);
    EXPECT_EQ(w.prog->form.Check1.Value(), 0);
    w.Mouse(check1, Qt::LeftButton);  // mouse down sees it unchecked: -1, then it checks
    EXPECT_TRUE(check1->isChecked());
    EXPECT_EQ(w.prog->form.Check1.Value(), 1);
    EXPECT_EQ(w.prog->front.Jobs[0].EraseItems, -1);
    w.Mouse(check1, Qt::LeftButton);
    EXPECT_FALSE(check1->isChecked());
    EXPECT_EQ(w.prog->front.Jobs[0].EraseItems, 0);
}

TEST(MainWindow, SavedSettingsComeBackInANewWindow) {
    Window w(JobList{{"/a/src.tr4", "/a/base.tr2", "/a/new.tr2", "One"}});
    AnswerPrompt("Two");
    w.W<QPushButton>("Command8")->click();
    w.W<QListWidget>("ll")->setCurrentRow(1);
    w.W<QComboBox>("Combo2")->setCurrentIndex(2);
    emit w.W<QComboBox>("Combo2")->activated(2);
    w.prog->form.Text2.SetText("/b/base.trc");
    w.W<QPushButton>("Command11")->click();
    std::vector<uint8_t> saved = ReadFileBytes(w.dir / "settings.dat");
    ASSERT_EQ(saved.size(), 5u + 2 * 1293 + 256);
    EXPECT_EQ(Word(saved, 5 + 1293 + 1024), 2);  // Weather of the second job

    w.Open();
    QListWidget* ll = w.W<QListWidget>("ll");
    ASSERT_EQ(ll->count(), 2);
    EXPECT_EQ(ll->item(1)->text(), "Two");
    ll->setCurrentRow(1);
    EXPECT_EQ(w.W<QComboBox>("Combo2")->currentText(), "2 - Snow");
    EXPECT_EQ(w.W<QLineEdit>("Text2")->text(), "/b/base.trc");
}

TEST(MainWindow, BuildingMovesTheLogAndTheProgressBar) {
    Window w(JobList{{SharedLevel("source-tr4.TR4"), SharedLevel("base-tr3.TR2"), "", "Tr3"}});
    w.prog->form.Text3.SetText(w.dir / "new.TR2");
    w.prog->form.Check3.SetValue(0);
    QListWidget* log = w.W<QListWidget>("l");
    std::vector<int> values;
    QObject::connect(w.W<QProgressBar>("p"), &QProgressBar::valueChanged, [&values](int v) { values.push_back(v); });
    log->addItem("stale");
    w.W<QPushButton>("Command1")->click();
    QStringList lines;
    for (int i = 0; i < log->count(); ++i) lines << log->item(i)->text().section("] ", 1);
    ASSERT_GE(lines.size(), 2);
    EXPECT_EQ(lines[0], "Getting version of base level");
    EXPECT_EQ(lines[1], "New level version: Tomb Raider 3");
    EXPECT_EQ(log->currentRow(), log->count() - 1);
    EXPECT_FALSE(values.empty());
    w.prog->channels.FlushAll();  // a TR3 conversion leaves its channels open
    EXPECT_EQ(ReadFileBytes(w.dir / "new.TR2").at(0), 0x38);
}

namespace {
// Runs the built program in a folder with no display; returns its exit status.
int RunConvert(const TestFolder& dir, const std::string& args) {
    std::string command = "cd '" + dir.str() +
                          "' && env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM ./convert " + args +
                          " >out.txt 2>err.txt";
    int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
}  // namespace

TEST(Program, UnattendedRunWithoutADisplayConvertsTheJobAndEnds) {
    TestFolder dir;
    std::filesystem::copy_file(CONVERT_EXE, dir / "convert");
    WriteFileBytes(dir / "settings.dat", SettingsWith({{SharedLevel("source-tr4.TR4"), SharedLevel("base-tr3.TR2"),
                                                        dir / "new.TR2", "Tr3"}},
                                                      dir.str()));
    EXPECT_EQ(RunConvert(dir, "0"), 0);
    std::string log = ReadFileText(dir / "morv.log");
    EXPECT_EQ(log.substr(0, 12), "MORV 1.0.6\r\n");
    EXPECT_NE(log.find("\r\n========================================\r\n["), std::string::npos);
    EXPECT_NE(log.find("] Begins log\r\n"), std::string::npos);
    EXPECT_NE(log.find("] Getting version of base level\r\n"), std::string::npos);
    EXPECT_NE(log.find("] New level version: Tomb Raider 3\r\n"), std::string::npos);
    EXPECT_EQ(log.find("MORV ends"), std::string::npos);
    EXPECT_EQ(Long(ReadFileBytes(dir / "new.TR2"), 0), int32_t(0xFF180038));

    // A job that the list doesn't hold: a log line and a failing status.
    EXPECT_EQ(RunConvert(dir, "4"), 1);
    EXPECT_NE(ReadFileText(dir / "morv.log").find("RunFromCommandLine() -> Error: there is no job '4' in the list"),
              std::string::npos);
}

TEST(Program, FirstStartWithoutADisplayReportsThePickerAndComesUp) {
    TestFolder dir;
    std::filesystem::copy_file(CONVERT_EXE, dir / "convert");
    EXPECT_EQ(RunConvert(dir, "x"), 1);
    EXPECT_NE(ReadFileText(dir / "err.txt").find("Select TRLE folder:"), std::string::npos);
    EXPECT_EQ(ReadFileBytes(dir / "settings.dat").size(), 0u);
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Test discovery runs without the test environment; a missing display means offscreen.
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
