#pragma once
// The main window on Qt: one widget for each control of Form1, placed from the layout table, and
// bound both ways to the plain controls. A user's action goes through the controls' setters and
// so through the same handlers as in a test; a change of a control shows in its widget.
#include <QCheckBox>
#include <QMap>
#include <QWidget>
#include <functional>

struct Application;
struct Control;
class QtPlatform;

// A check box that tells its control of a mouse press, with any button, before it changes, and
// of the release after it. The whole widget is the area that a left click toggles, so that a
// press the control has seen always toggles the box unless it is released outside.
class ModelCheckBox : public QCheckBox {
    Q_OBJECT
public:
    using QCheckBox::QCheckBox;
    std::function<void(int button)> Pressed;
    std::function<void(int button)> Released;

    // Where the caption goes: right of the indicator, the full height of the widget.
    QRect CaptionRect() const;

protected:
    bool hitButton(const QPoint& pos) const override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    // Long captions wrap onto more lines, as the layout expects.
    void paintEvent(QPaintEvent* event) override;
};

class MainWindow : public QWidget {
    Q_OBJECT
public:
    MainWindow(Application& prog, QtPlatform& platform);
    ~MainWindow() override;

    // The widget of a control by its name.
    QWidget* Widget(const QString& name) const { return widgets_.value(name); }
    // Pixels for a length in twips at this screen's resolution.
    int Px(int twips) const;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    // The Delete key on the job list; a file dropped on a path box.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Build();
    void Bind();
    void ApplyGeometry();
    void ApplyCommon(QWidget* widget, const Control& control);
    // Gives each caption a font in which it reads whole inside its widget.
    void FitCaptions();
    // Access keys of buttons out of sight, which take no shortcuts of their own.
    void BindHiddenAccessKeys();
    // The job list's context menu.
    void BindJobList();
    // Tab goes through the controls as the layout reads: top to bottom, left to right.
    void SetTabOrder();
    // Runs a handler; a run-time error that escapes it is shown instead of ending the program.
    void Invoke(const std::function<void()>& action);

    Application& prog_;
    QtPlatform& platform_;
    QMap<QString, QWidget*> widgets_;
    double scale_ = 1.0;
    bool unloaded_ = false;
};
