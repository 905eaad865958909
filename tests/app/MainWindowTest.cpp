// Drives the real Qt window (offscreen or under a virtual X server) and the built program.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <regex>
#include <set>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QInputDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QClipboard>
#include <QPushButton>
#include <QStyleOption>
#include <QTest>
#include <QTimer>

#include "MainWindow.h"
#include "QtPlatform.h"
#include "core/DiskFileSystem.h"
#include "frontend/FrontendFixture.h"
#include "frontend/Startup.h"

namespace {
struct Window {
    TestFolder dir;
    QtPlatform platform{true};
    std::unique_ptr<Application> prog;
    std::unique_ptr<MainWindow> window;
    explicit Window(SettingsBytes settings = SettingsBytes(0)) {
        WriteFileBytes(dir / "settings.dat", settings.Text(dir.str()).bytes);
        prog = std::make_unique<Application>(platform, dir.str());
        window = std::make_unique<MainWindow>(*prog, platform);
        Form_Load(*prog);
    }
    template <class T>
    T* W(const char* name) {
        T* w = qobject_cast<T*>(window->Widget(name));
        EXPECT_NE(w, nullptr) << name;
        return w;
    }
    // Presses "Save" and reads the settings file back.
    std::string Save() {
        W<QPushButton>("Command11")->click();
        return ReadFileText(dir / "settings.dat");
    }
};

// The log list's lines from `from` on, without their time stamps.
QStringList LogLines(QListWidget* log, int from = 0) {
    QStringList lines;
    for (int i = from; i < log->count(); ++i) lines << log->item(i)->text().section("] ", 1);
    return lines;
}

// Acts on the next menu or dialog of a kind once it shows (it runs its own event loop).
template <class T>
void WhenShown(std::function<void(T*)> act) {
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        QWidget* popup = QApplication::activePopupWidget();
        T* widget = qobject_cast<T*>(popup ? popup : QApplication::activeModalWidget());
        if (!widget || !widget->isVisible()) return;
        timer->stop();
        timer->deleteLater();
        act(widget);
    });
    timer->start(5);
}

// Answers the next text prompt (cancels it when `text` is null); its text and title go to `promptSeen`.
void AnswerPrompt(const QString& text, QString* promptSeen = nullptr) {
    WhenShown<QInputDialog>([text, promptSeen](QInputDialog* dialog) {
        if (promptSeen) *promptSeen = dialog->labelText() + "|" + dialog->windowTitle();
        if (text.isNull()) return dialog->reject();
        dialog->setTextValue(text);
        dialog->accept();
    });
}

// Answers the next message box with a button; its text goes to `seen`.
void AnswerBox(QMessageBox::StandardButton button, QString* seen) {
    WhenShown<QMessageBox>([button, seen](QMessageBox* box) {
        *seen = box->text();
        box->button(button)->click();
    });
}

// Right-clicks a row of the job list (the press selects it, then the menu is asked for) and picks
// a menu entry by its access key.
void MenuOnRow(QListWidget* list, int row, Qt::Key key) {
    QPoint at = list->visualItemRect(list->item(row)).center();
    QTest::mouseClick(list->viewport(), Qt::RightButton, Qt::NoModifier, at);
    WhenShown<QMenu>([key](QMenu* menu) { QTest::keyClick(menu, key); });
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, list->viewport()->mapToGlobal(at));
    QApplication::sendEvent(list->viewport(), &event);
}
}  // namespace

// The boxes show the selected job (engine-ready: its first Reserved byte, 1 on), and only it gets
// their changes. A dropped or pasted path goes in as a typed one; one over 256 characters is
// refused. Mouse down sets the flag the click will give, whatever the button; then the job holds
// what the box shows: clicks anywhere in it and Space toggle it, a press dragged off does not.
TEST(MainWindow, TheBoxesShowTheSelectedJobAndEveryChangeByMouseOrKeyReachesIt) {
    // Words: Weather, LaraType, OptimizeTextures, Cutscene, EraseStaticMeshes, EraseItems.
    Window w(SettingsBytes(3)
                 .Job("/a/src.tr4", "/a/base.tr2", "/a/new.tr2", "One", {2, 3, 0, 1, -1, 0}, 12, 1)
                 .Job("/b/src.tom", "", "", "Two", {0, 0, -1, 0, 0, -1}, 40, 0)
                 .Job("", "", "", "Odd", {0, 0, 0, 0, 0, 0}, 0, 3));  // Reserved 3, 6, 9, ...
    EXPECT_EQ(w.W<QLineEdit>("Text1")->text(), "/a/src.tr4");
    EXPECT_EQ(std::pair(w.W<QComboBox>("Combo1")->currentIndex(), w.W<QComboBox>("Combo2")->currentText()),
              std::pair(3, QString("2 - Snow")));  // Lara's type and the weather
    QString boxes;  // Check3 is checked at start, cleared by the job
    for (const char* name : {"Check1", "Check2", "Check3", "Check4", "Check6"})
        boxes += w.W<QCheckBox>(name)->isChecked() ? 'x' : '-';
    EXPECT_EQ(boxes, "-x-xx");
    JobRecord& job = w.prog->front.Jobs[0];
    EXPECT_EQ(job.Cutscene, 1) << "loading a job rewrites none of its flags";
    QLineEdit* text2 = w.W<QLineEdit>("Text2");
    auto drop = [](QWidget* target, const QString& path) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(path)});
        QPoint at = target->rect().center();
        QDragEnterEvent enter(at, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        if (!enter.isAccepted()) return false;
        QDropEvent dropped(QPointF(at), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &dropped);
        return true;
    };
    const auto shown = [&](QLineEdit* box, const TextField& field) { return box->text() + "|" + field.Text().c_str(); };
    ASSERT_TRUE(drop(text2, "/levels/my base.TR2"));
    EXPECT_EQ(shown(text2, job.BaseLevel), "/levels/my base.TR2|/levels/my base.TR2");

    const QString tooLong = "/" + QString(256, 'x');
    QString seen;
    AnswerBox(QMessageBox::Ok, &seen);
    ASSERT_TRUE(drop(text2, tooLong));
    EXPECT_EQ(seen, "This path has 257 characters; a level's paths and the TRLE folder can hold 256 at most. The "
                    "one before stays.");
    EXPECT_EQ(shown(text2, job.BaseLevel), "/levels/my base.TR2|/levels/my base.TR2");
    QLineEdit* text3 = w.W<QLineEdit>("Text3");
    QApplication::clipboard()->setText(tooLong + "y");
    text3->selectAll();
    AnswerBox(QMessageBox::Ok, &seen);
    QTest::keyClick(text3, Qt::Key_V, Qt::ControlModifier);
    EXPECT_TRUE(seen.startsWith("This path has 258 characters")) << seen.toStdString();
    EXPECT_EQ(shown(text3, job.NewLevel), "/a/new.tr2|/a/new.tr2");
    // UV range: digits up to 255; an emptied box gets the stored value back.
    QLineEdit* text4 = w.W<QLineEdit>("Text4");
    text4->selectAll();
    QTest::keyClick(text4, Qt::Key_Backspace);
    EXPECT_EQ(text4->text(), "12");
    text4->selectAll();
    QTest::keyClicks(text4, "25x50");
    EXPECT_EQ(text4->text(), "255");
    QCheckBox* check6 = w.W<QCheckBox>("Check6");
    w.W<QListWidget>("ll")->setCurrentRow(2);
    EXPECT_FALSE(check6->isChecked());
    w.W<QListWidget>("ll")->setCurrentRow(1);
    QTest::mouseClick(check6, Qt::LeftButton);
    EXPECT_TRUE(check6->isChecked());
    // UV range and the first two Reserved bytes: job 0 got 255, job 1 keeps its 40 and gets 1 and
    // no more, job 2 was only selected.
    const std::string saved = w.Save();
    EXPECT_EQ(saved.substr(5 + 1036, 3) + saved.substr(5 + 1293 + 1036, 3) + saved.substr(5 + 2 * 1293 + 1037, 1),
              std::string("\xFF\1\2" "\x28\1\0" "\3", 7));

    JobRecord& two = w.prog->front.Jobs[1];  // selected, with EraseItems set
    QCheckBox* check1 = w.W<QCheckBox>("Check1");
    QTest::mouseClick(check1, Qt::RightButton);  // the flag changes, not the box
    EXPECT_EQ(std::pair(check1->isChecked(), two.EraseItems), std::pair(true, int16_t(0)));
    QTest::mouseClick(check1, Qt::LeftButton);  // seen checked: 0, then it clears
    EXPECT_EQ(std::pair(check1->isChecked(), two.EraseItems), std::pair(false, int16_t(0)));
    const std::pair<const char*, int16_t JobRecord::*> flags[] = {
        {"Check1", &JobRecord::EraseItems}, {"Check2", &JobRecord::EraseStaticMeshes},
        {"Check3", &JobRecord::OptimizeTextures}, {"Check4", &JobRecord::Cutscene}};
    for (auto [name, field] : flags) {
        SCOPED_TRACE(name);
        QCheckBox* box = w.W<QCheckBox>(name);
        const QPoint farEnd(box->width() - 3, box->height() / 2), outside(box->width() + 30, box->height() / 2);
        auto act = [&](bool toggles, const std::function<void()>& press) {
            const bool before = box->isChecked();
            press();
            EXPECT_EQ(std::pair(box->isChecked(), two.*field),
                      std::pair(before != toggles, int16_t(-(before != toggles))));
        };
        for (QPoint at : {farEnd, QPoint(box->width() - 1, box->height() - 1), QPoint(2, 2)})
            act(true, [&] { QTest::mouseClick(box, Qt::LeftButton, Qt::NoModifier, at); });
        for (int i = 0; i < 2; ++i) {
            act(false, [&] {
                QTest::mousePress(box, Qt::LeftButton, Qt::NoModifier, farEnd);
                QTest::mouseMove(box, outside);
                QTest::mouseRelease(box, Qt::LeftButton, Qt::NoModifier, outside);
            });
            act(true, [&] { QTest::keyClick(box, Qt::Key_Space); });
        }
    }
}

// Tab walks the window as it reads, passing over inactive buttons and controls out of sight; Alt+W
// presses the level reader's button, which stays out of sight, right of what the window shows.
TEST(MainWindow, TabFollowsTheLayoutAndAltWRunsTheLevelReaderFromOutOfSight) {
    Window w(SettingsBytes(1).Job("", "", "", "One"));
    w.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(w.window.get()));
    w.window->Widget("l")->setFocus();
    QStringList order;
    for (int i = 0; i < 30 && (order.isEmpty() || QApplication::focusWidget()->objectName() != "l"); ++i) {
        order << QApplication::focusWidget()->objectName();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(order.join(' ').toStdString(),
              "l ll Command8 Check6 Text1 Command4 Text2 Command5 Text3 Command6 Combo1 Combo2 Text4 Check5 "
              "Check1 Check2 Check3 Check4 Command11 Command3 Command1");

    const QString source = QString::fromStdString(SampleLevel("source.TR4"));
    const TemporaryFolderAt tmp(w.dir.str());  // the reader's working folder goes there
    QLineEdit* text1 = w.W<QLineEdit>("Text1");
    QTest::keyClicks(text1, source);
    ASSERT_EQ(w.prog->form.Text1.Text(), source.toStdString());
    text1->setFocus();
    // The key goes where the user just typed; the box takes no letter from it.
    QListWidget* log = w.W<QListWidget>("l");
    const int before = log->count();
    QTest::keyClick(text1, Qt::Key_W, Qt::AltModifier);
    EXPECT_EQ(text1->text(), source);
    const QStringList lines = LogLines(log, before);
    EXPECT_EQ(lines.mid(0, 2).join('|') + "|" + lines.value(lines.size() - 1),
              "Opening " + source + "...|Livello di Tomb Raider IV|Done");
    QWidget* command7 = w.window->Widget("Command7");
    EXPECT_FALSE(w.window->rect().intersects(command7->geometry()) || command7->isVisible());
}

TEST(MainWindow, EveryCaptionReadsWholeInsideItsPlace) {
    Window w;
    int checked = 0;
    for (const ControlPlace& place : Form1::Layout()) {
        QWidget* widget = w.window->Widget(QString::fromStdString(place.Name));
        const QString caption = QString::fromStdString(place.Caption);
        // The room a caption has, and how the widget lays it out there.
        QRect room;
        int flags = Qt::TextShowMnemonic;
        QStyleOptionButton button;
        button.initFrom(widget);
        if (qobject_cast<QCheckBox*>(widget)) {
            room = widget->style()->subElementRect(QStyle::SE_CheckBoxContents, &button, widget);
            flags |= Qt::TextWordWrap;
        } else if (auto* label = qobject_cast<QLabel*>(widget)) {
            room = label->contentsRect();
            flags = label->wordWrap() ? Qt::TextWordWrap : 0;
        } else if (qobject_cast<QPushButton*>(widget)) {
            room = widget->style()->subElementRect(QStyle::SE_PushButtonContents, &button, widget);
        } else if (qobject_cast<QGroupBox*>(widget)) {  // one line along the top edge, inside the frame
            QStyleOptionGroupBox frame;
            frame.initFrom(widget);
            frame.text = caption;
            frame.subControls = QStyle::SC_GroupBoxLabel | QStyle::SC_GroupBoxFrame;
            room = widget->style()->subControlRect(QStyle::CC_GroupBox, &frame, QStyle::SC_GroupBoxLabel, widget)
                       .intersected(widget->rect());
        } else {
            continue;
        }
        ++checked;
        const QFont font = widget->font();
        const QRect needed = QFontMetrics(font).boundingRect(room, flags, caption);
        EXPECT_TRUE(needed.width() <= room.width() && needed.height() <= room.height() && font.pointSizeF() >= 5.0)
            << place.Name << " at " << font.pointSizeF() << " pt";
    }
    EXPECT_EQ(checked, 30);  // 6 check boxes, 8 labels, 13 buttons, 3 frames

    if (const char* shot = std::getenv("WINDOW_SCREENSHOT")) {
        // The README's picture: a job as a user sees it, after writing its batch script.
        AnswerPrompt("Hall");
        w.W<QPushButton>("Command8")->click();
        w.prog->form.Text1.SetText("C:\\TRLE\\maps\\hall.tom");
        w.prog->form.Text2.SetText("C:\\TR3\\data\\jungle.tr2");
        w.prog->form.Text3.SetText("C:\\TR3\\data\\hall.tr2");
        AnswerPrompt("CONV.BAT");
        MenuOnRow(w.W<QListWidget>("ll"), 0, Qt::Key_B);
        EXPECT_EQ(w.prog->form.l.ListCount(), 2);  // "Building BAT", "Done"
        EXPECT_TRUE(w.window->grab().save(shot));
    }
}

// "&Add" asks for a name and selects the new job only when none is selected. The list's menu
// renames, duplicates and deletes the job under the pointer, the Delete key the selected one;
// deleting asks first, and list, jobs and count stay in step, as the saves show.
TEST(MainWindow, TheJobListAddsRenamesDuplicatesAndDeletesAndDeletingAsksFirst) {
    Window w;
    const auto enabled = [&] {
        return std::pair(w.W<QGroupBox>("Frame1")->isEnabled(), w.W<QCheckBox>("Check6")->isEnabled());
    };
    EXPECT_EQ(enabled(), std::pair(false, false));  // no jobs yet: the frames and the engine layout box are greyed
    QListWidget* ll = w.W<QListWidget>("ll");
    QString seen;
    AnswerPrompt(QString(), &seen);  // cancelled: nothing is added
    QTest::mouseClick(w.W<QPushButton>("Command8"), Qt::LeftButton);
    EXPECT_EQ(seen, "Insert level name:|Level name");
    EXPECT_EQ(ll->count(), 0);
    AnswerPrompt("One", &seen);
    QTest::mouseClick(w.W<QPushButton>("Command8"), Qt::LeftButton);
    ASSERT_EQ(std::pair(ll->count(), ll->currentRow()), std::pair(1, 0));
    EXPECT_EQ(enabled(), std::pair(true, true));
    EXPECT_FALSE(w.W<QCheckBox>("Check3")->isChecked());  // the new job's flag, loaded into the box
    w.W<QComboBox>("Combo2")->setCurrentIndex(2);
    emit w.W<QComboBox>("Combo2")->activated(2);
    QTest::keyClicks(w.W<QLineEdit>("Text2"), "/b/base.trc");
    QTest::mouseClick(w.W<QCheckBox>("Check6"), Qt::LeftButton);  // a Reserved byte for the copy to keep
    // With a job selected, a second one is only added: typing still goes to the first.
    AnswerPrompt("Two", &seen);
    QTest::mouseClick(w.W<QPushButton>("Command8"), Qt::LeftButton);
    ASSERT_EQ(std::pair(ll->count(), ll->currentRow()), std::pair(2, 0));
    QTest::keyClicks(w.W<QLineEdit>("Text3"), "/a/one.tr2");
    // A new job's paths are zero bytes until typed in; typed texts and the name are blank padded.
    const std::string saved = w.Save(), zeros(256, '\0');
    ASSERT_EQ(saved.size(), 5u + 2 * 1293 + 256);
    EXPECT_EQ(saved.substr(5, 1026), zeros + SettingsBytes(0).Text("/b/base.trc").Text("/a/one.tr2").Text("One")
                                                 .Byte(2).Byte(0).Str().substr(5));  // with Weather 2
    EXPECT_EQ(saved.substr(5 + 1293 + 512, 260), zeros + "Two ");

    AnswerPrompt("Hall", &seen);
    MenuOnRow(ll, 1, Qt::Key_R);
    EXPECT_EQ(seen, "Insert level name:|Level name");
    EXPECT_EQ(ll->item(1)->text(), "Hall");
    MenuOnRow(ll, 0, Qt::Key_U);
    ASSERT_EQ(std::pair(ll->count(), ll->currentRow()), std::pair(3, 2));
    EXPECT_EQ(ll->item(2)->text(), "One (copy)");
    QTest::mouseClick(ll->viewport(), Qt::LeftButton, Qt::NoModifier, ll->visualItemRect(ll->item(1)).center());
    AnswerBox(QMessageBox::No, &seen);
    QTest::keyClick(ll, Qt::Key_Delete);
    EXPECT_TRUE(seen.startsWith("Delete the level 'Hall' from the list? The levels below")) << seen.toStdString();
    AnswerBox(QMessageBox::Yes, &seen);
    QTest::keyClick(ll, Qt::Key_Delete);
    ASSERT_EQ(std::pair(ll->count(), ll->currentRow()), std::pair(2, 1));  // the job that moved up, loaded
    EXPECT_EQ(w.W<QLineEdit>("Text2")->text(), "/b/base.trc");
    AnswerBox(QMessageBox::Yes, &seen);
    MenuOnRow(ll, 0, Qt::Key_D);
    EXPECT_EQ(seen.toStdString(), "Delete the level 'One' from the list? The levels below it move up one place, so a "
                                  "batch script that runs one of them by its number must be written again.");
    EXPECT_EQ(ll->currentRow(), 0);
    // The copy keeps every byte of its job but the name. (A save writes over the file's start.)
    std::string copy = saved.substr(5, 1293);
    copy.replace(768, 256, SettingsBytes(0).Text("One (copy)").Str().substr(5));
    EXPECT_EQ(w.Save().substr(4, 1 + 1293), std::string(1, '\1') + copy);
}

TEST(MainWindow, BuildingARoomFileWaitsForTheCompilerAndConvertsTheLevelItMade) {
    Window w(SettingsBytes(1).Job("", SampleLevel("base-tr3.TR2"), "", "Hall"));
    // A stand-in compiler in the editor's folder that takes its time, then leaves DATA/hall.TR4.
    // The level's name comes from a path written on Windows, in a folder with a dot.
    std::filesystem::create_directories(w.dir / "DATA");
    std::ofstream(w.dir / "tom2pc.exe") << "#!/bin/sh\nsleep 0.3\n[ \"$1\" = 'c:\\my.rooms\\hall.tom' ] && cp '"
                                        << SampleLevel("source.TR4") << "' \"$(dirname \"$0\")/DATA/hall.TR4\"\n";
    std::filesystem::permissions(w.dir / "tom2pc.exe", std::filesystem::perms::owner_all);
    QListWidget* log = w.W<QListWidget>("l");
    // A path typed with a blank at its end takes the road of the job that stores it without.
    QTest::keyClicks(w.W<QLineEdit>("Text3"), QString::fromStdString(w.dir / "typed.TR2"));
    QTest::keyClicks(w.W<QLineEdit>("Text1"), QString::fromStdString(SampleLevel("source.TR4") + " "));
    w.W<QPushButton>("Command1")->click();
    EXPECT_EQ(log->item(0)->text().section("] ", 1), "Getting version of base level");
    EXPECT_TRUE(std::filesystem::exists(w.dir / "typed.TR2"));

    w.prog->form.Text1.SetText("c:\\my.rooms\\hall.tom");
    w.prog->form.Text3.SetText(w.dir / "hall.TR2");
    log->addItem("stale");
    w.W<QPushButton>("Command1")->click();
    const QStringList lines = LogLines(log);
    EXPECT_EQ(lines.mid(0, 3).join('|'),
              "Compiling TOM|Getting version of base level|New level version: Tomb Raider 3");
    EXPECT_EQ(log->currentRow(), log->count() - 1);
    EXPECT_EQ(Long(ReadFileBytes(w.dir / "hall.TR2"), 0), int32_t(0xFF080038));  // the sample base's word
}

TEST(MainWindow, AnUnattendedRunPaintsTheShownWindowWhileTheConversionRuns) {
    TestFolder dir;
    WriteFileBytes(dir / "settings.dat", SettingsBytes(1).Job(SampleLevel("source.TR4"), SampleLevel("base-tr3.TR2"),
                                                              dir / "new.TR2", "Tr3").Text(dir.str()).bytes);
    QtPlatform platform;
    platform.SetUnattendedRun(true);
    Application prog(platform, dir.str());
    prog.front.CommandTail = "0";
    MainWindow window(prog, platform);
    auto* log = qobject_cast<QListWidget*>(window.Widget("l"));
    ASSERT_NE(log, nullptr);
    // Notes, at each paint of the log list, how many lines the list held then.
    struct PaintWatch : QObject {
        std::vector<int> linesAtPaint;
        QListWidget* list = nullptr;
        bool eventFilter(QObject* watched, QEvent* event) override {
            if (event->type() == QEvent::Paint) linesAtPaint.push_back(list->count());
            return QObject::eventFilter(watched, event);
        }
    } watch;
    watch.list = log;
    log->viewport()->installEventFilter(&watch);

    const LoadResult load = Form_Load(prog);
    EXPECT_TRUE(load.EndProcess && window.isVisible());
    EXPECT_EQ(load.ExitStatus, ExitStatus::Completed);
    // The lines showed one by one while the conversion ran, not only at its end.
    EXPECT_GE(std::set<int>(watch.linesAtPaint.begin(), watch.linesAtPaint.end()).size(), 3u);
    // A close of the window while the run goes on is held back: the files stay open.
    window.close();
    EXPECT_TRUE(window.isVisible() && prog.channels.IsOpen(LogChannel));
}

namespace {
const std::string NoDisplay = "-u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM";

// A folder with the built program and its window module, as the demo lays them out.
struct ProgramFolder : TestFolder {
    ProgramFolder() {
        std::filesystem::copy_file(CONVERT_EXE, *this / "convert");
        std::filesystem::copy_file(CONVERT_WINDOW_MODULE, *this / "convert-window.so");
    }
    // Runs the program with the environment changed as `env` says (arguments of env(1)), and a
    // time limit; returns its exit status (124 when it had to be stopped).
    int Run(const std::string& args, const std::string& env = NoDisplay, const std::string& wrapper = "") const {
        std::string command = "cd '" + str() + "' && " + wrapper + " env " + env + " timeout 60 ./convert " + args +
                              " >out.txt 2>err.txt </dev/null";
        int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string Err() const { return ReadFileText(*this / "err.txt"); }
    void Settings(SettingsBytes settings) const { WriteFileBytes(*this / "settings.dat", settings.Text(str()).bytes); }
};

// Jobs for each way out of an unattended run: completed, a TR4 base (a box), a new level in a
// folder that doesn't exist (a run-time error), an optimizer the program folder doesn't hold.
SettingsBytes WaysOut(const TestFolder& dir) {
    const std::string src = SampleLevel("source.TR4"), tr3 = SampleLevel("base-tr3.TR2");
    return SettingsBytes(4).Job(src, tr3, dir / "new.TR2", "Tr3").Job(src, src, dir / "base.TR2", "TR4 base")
        .Job(src, tr3, dir / "gone/new.TR2", "No folder")
        .Job(src, tr3, dir / "optimized.TR2", "Optimize", {0, 0, -1, 0, 0, 0});
}

// Waits up to 30 s for a file to hold a text; false when it never does.
bool WaitForText(const std::string& path, const std::string& text) {
    for (int i = 0; i < 3000 && !Contains(ReadFileText(path), text); ++i) ::usleep(10000);
    return Contains(ReadFileText(path), text);
}
}  // namespace

TEST(Program, TheExitStatusTellsTheWayOutAndStandardErrorSaysWhy) {
    ProgramFolder dir;
    dir.Settings(WaysOut(dir));
    EXPECT_EQ(dir.Run("0"), ExitStatus::Completed);
    EXPECT_EQ(dir.Err(), "");
    const std::string log = ReadFileText(dir / "morv.log");
    const std::regex head("^MORV 1\\.0\\.6\r\n.+\r\n={40}\r\n\\[.+\\] Begins log\r\n");
    EXPECT_TRUE(std::regex_search(log.substr(0, 200), head)) << log;
    EXPECT_TRUE(Contains(log, "] New level version: Tomb Raider 3\r\n") && !Contains(log, "MORV ends")) << log;
    EXPECT_EQ(Long(ReadFileBytes(dir / "new.TR2"), 0), int32_t(0xFF080038));  // the sample base's word
    EXPECT_TRUE(log.ends_with("] Note: the new level was written to '" + (dir / "new.TR2") + "'.\r\n"));
    // The last line of the log tells why, and standard error says it too.
    EXPECT_EQ(dir.Run("1"), ExitStatus::InputRefused);
    const std::string tr4Base = "Note: the base level '" + SampleLevel("source.TR4") +
                                "' is a TR4 level, which can't be a base; a TR5 base must be named .TRC.";
    EXPECT_EQ(dir.Err(), "[Error] Cannot select a TR4 level as base level\n" + tr4Base + "\n");
    EXPECT_TRUE(ReadFileText(dir / "morv.log").ends_with("] " + tr4Base + "\r\n"));
    EXPECT_EQ(dir.Run("2"), ExitStatus::ConversionError);
    const std::string noFolder = "Note: the new level '" + (dir / "gone/new.TR2") +
                                 "' could not be opened at the start: the folder '" + (dir / "gone") +
                                 "' does not exist.";
    EXPECT_EQ(dir.Err(), "[Error] Path not found\n" + noFolder + "\nPath not found (76)\n");
    EXPECT_TRUE(Contains(ReadFileText(dir / "morv.log"), "] Path not found (76)\r\n["));
    EXPECT_TRUE(ReadFileText(dir / "morv.log").ends_with("] " + noFolder + "\r\n"));
    // The level is whole, only the optimizer behind it could not start: a status of its own.
    EXPECT_EQ(dir.Run("3"), ExitStatus::OptimizerNotStarted);
    EXPECT_EQ(dir.Err(), "[Error] File not found\nNote: toptimizer.exe was not found in the program folder '" +
                             dir.str() + "'; the new level '" + (dir / "optimized.TR2") +
                             "' is complete, only its textures were not optimized.\nFile not found (53)\n");
    EXPECT_EQ(ReadFileBytes(dir / "optimized.TR2"), ReadFileBytes(dir / "new.TR2"));
}

// While another run holds the program folder, a run waits (and says so) before it touches
// morv.log; runs side by side each end with 0 and make byte for byte the level they make alone.
TEST(Program, RunsInOneFolderTakeTurnsAndEachMakesTheLevelItMakesAlone) {
    ProgramFolder dir;
    const std::pair<const char*, const char*> jobs[] = {{"base-tr1.PHD", "new.PHD"}, {"base-gold.TUB", "new.TUB"},
                                                        {"base-tr2.TR2", "new2.TR2"}, {"base-tr3.TR2", "new3.TR2"},
                                                        {"base-tr5.TRC", "new.TRC"}};
    SettingsBytes settings(5);
    for (auto [base, out] : jobs) settings.Job(SampleLevel("source.TR4"), SampleLevel(base), dir / out, out);
    dir.Settings(settings);

    WriteFileBytes(dir / "morv.log", {'o', 't', 'h', 'e', 'r'});
    std::unique_ptr<FileLock> held = Disk().Lock(dir / "convert.lock", false);
    ASSERT_TRUE(held);
    const std::string waiting = "cd '" + dir.str() + "' && (env " + NoDisplay +
                                " timeout 60 ./convert 0 >out.txt 2>err.txt; echo $? >status.txt) &";
    ASSERT_EQ(std::system(waiting.c_str()), 0);
    ASSERT_TRUE(WaitForText(dir / "err.txt", "Note: another conversion is running in the program folder '" +
                                                 dir.str() + "'; this run waits for it to end.\n"));
    ::usleep(200000);
    EXPECT_EQ(ReadFileText(dir / "morv.log"), "other");
    EXPECT_FALSE(std::filesystem::exists(dir / jobs[0].second));
    held.reset();
    EXPECT_TRUE(WaitForText(dir / "status.txt", "0\n")) << ReadFileText(dir / "status.txt");
    const std::string log = ReadFileText(dir / "morv.log");
    EXPECT_TRUE(Contains(log, "] Note: this run waited ") && Contains(log, "] Conversion done\r\n")) << log;

    std::vector<std::vector<uint8_t>> alone = {ReadFileBytes(dir / jobs[0].second)};
    for (int n = 1; n < 5; ++n) {
        ASSERT_EQ(dir.Run(std::to_string(n)), ExitStatus::Completed);
        alone.push_back(ReadFileBytes(dir / jobs[n].second));
    }
    for (int round = 0; round < 6; ++round) {
        SCOPED_TRACE(round);
        for (auto [base, out] : jobs) std::filesystem::remove(dir / out);
        const std::string command = "cd '" + dir.str() + "' && for n in 0 1 2 3 4; do (env " + NoDisplay +
                                    " timeout 60 ./convert $n 2>/dev/null; echo $? >status$n.txt) & done; wait";
        ASSERT_EQ(std::system(command.c_str()), 0);
        for (int n = 0; n < 5; ++n) {
            EXPECT_EQ(ReadFileText(dir / ("status" + std::to_string(n) + ".txt")), "0\n") << n;
            EXPECT_TRUE(ReadFileBytes(dir / jobs[n].second) == alone[size_t(n)]) << n;
        }
    }
}

// Runs that show no window: "convert --check LEVEL [--tiles PICTURE]" gives the check's statuses and
// makes no settings and no log; a start with no job ends with a message, and a job still runs; on a
// display an unattended run shows no box that would wait for a click.
TEST(Program, RunsWithoutAWindowEndWithAMessageAndOnADisplayNoBoxWaits) {
    ProgramFolder dir;
    std::vector<uint8_t> level = ReadFileBytes(SampleLevel("base-tr3.TR2"));
    EXPECT_EQ(dir.Run("--check '" + SampleLevel("base-tr3.TR2") + "' --tiles pages.png"), 0);
    EXPECT_TRUE(Contains(ReadFileText(dir / "out.txt"), "last section ends, at " + std::to_string(level.size()) + "."));
    EXPECT_EQ(dir.Err(), "");
    EXPECT_EQ(ReadFileBytes(dir / "pages.png").at(1), 'P');
    level.pop_back();
    WriteFileBytes(dir / "cut.TR2", level);
    EXPECT_EQ(dir.Run("--check cut.TR2"), 1);
    EXPECT_TRUE(dir.Err().starts_with("cut.TR2: SampleIndices at ")) << dir.Err();
    EXPECT_EQ(dir.Run("--check"), 2);
    EXPECT_EQ(dir.Run("--check cut.TR2 --tiles"), 2);
    EXPECT_FALSE(std::filesystem::exists(dir / "morv.log") || std::filesystem::exists(dir / "settings.dat"));
    // A first start reports the folder picker it can't show, and leaves an empty settings file.
    EXPECT_EQ(dir.Run("x"), ExitStatus::NoSuchJob);
    EXPECT_TRUE(Contains(dir.Err(), "Select TRLE folder:")) << dir.Err();
    EXPECT_EQ(ReadFileBytes(dir / "settings.dat").size(), 0u);
    std::filesystem::remove(dir / "morv.log");

    dir.Settings(WaysOut(dir));
    EXPECT_EQ(dir.Run(""), ExitStatus::NoWindow);
    EXPECT_TRUE(Contains(dir.Err(), "no display")) << dir.Err();
    EXPECT_FALSE(std::filesystem::exists(dir / "morv.log"));
    EXPECT_EQ(dir.Run("", "-u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=offscreen"), ExitStatus::NoWindow);
    // A display that is named but can't be reached: no abort, a message, and a job still runs.
    const std::string unreachable = "-u WAYLAND_DISPLAY -u QT_QPA_PLATFORM DISPLAY=:4093";
    EXPECT_EQ(dir.Run("", unreachable), ExitStatus::NoWindow);
    EXPECT_TRUE(Contains(dir.Err(), "can't be reached")) << dir.Err();
    EXPECT_EQ(dir.Run("0", unreachable), ExitStatus::Completed);

    if (std::system("command -v xvfb-run >/dev/null 2>&1") != 0) GTEST_SKIP() << "no xvfb-run";
    // Without XDG_RUNTIME_DIR the toolkit would warn on standard error; a completed run prints nothing.
    const std::string onDisplay = "-u WAYLAND_DISPLAY -u QT_QPA_PLATFORM -u XDG_RUNTIME_DIR";
    // A box waiting for a click would hold the run until the time limit.
    EXPECT_EQ(dir.Run("1", onDisplay, "xvfb-run -a"), ExitStatus::InputRefused);
    EXPECT_TRUE(Contains(dir.Err(), "[Error] Cannot select a TR4 level as base level\n")) << dir.Err();
    EXPECT_EQ(dir.Run("0", onDisplay, "xvfb-run -a"), ExitStatus::Completed);
    EXPECT_EQ(dir.Err(), "");
}

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    // Test discovery runs without the test environment; a missing display means offscreen.
    if (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY")) setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
