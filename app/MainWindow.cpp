#include "MainWindow.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QStyleOption>
#include <QStyleOptionButton>
#include <QStylePainter>

#include "QtPlatform.h"
#include "core/Errors.h"
#include "frontend/Application.h"
#include "frontend/JobList.h"
#include "frontend/Startup.h"

namespace {
constexpr int CheckCaptionFlags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextWordWrap | Qt::TextShowMnemonic;
// A caption never shrinks below this size: smaller would not be read either.
constexpr double SmallestCaptionPoints = 5.0;

bool Within(const QRect& needed, const QRect& room) {
    return needed.width() <= room.width() && needed.height() <= room.height();
}

// Whether a control's caption reads whole in the widget's present font: wrapped where the widget
// wraps, on one line where it doesn't.
bool CaptionFits(QWidget* widget, const QString& caption) {
    QFontMetrics metrics(widget->font());
    if (auto* check = qobject_cast<ModelCheckBox*>(widget)) {
        QRect room = check->CaptionRect();
        return Within(metrics.boundingRect(room, CheckCaptionFlags, caption), room);
    }
    if (auto* label = qobject_cast<QLabel*>(widget)) {
        QRect room = label->contentsRect();
        int flags = label->wordWrap() ? Qt::TextWordWrap : 0;
        return Within(metrics.boundingRect(room, int(label->alignment()) | flags, caption), room);
    }
    if (auto* button = qobject_cast<QPushButton*>(widget)) {
        QStyleOptionButton option;
        option.initFrom(button);
        QRect room = button->style()->subElementRect(QStyle::SE_PushButtonContents, &option, button);
        return Within(metrics.boundingRect(room, Qt::AlignCenter | Qt::TextShowMnemonic, caption), room);
    }
    if (auto* frame = qobject_cast<QGroupBox*>(widget)) {
        QStyleOptionGroupBox option;
        option.initFrom(frame);
        option.text = caption;
        option.textAlignment = frame->alignment();
        option.subControls = QStyle::SC_GroupBoxLabel | QStyle::SC_GroupBoxFrame;
        QRect title = frame->style()->subControlRect(QStyle::CC_GroupBox, &option, QStyle::SC_GroupBoxLabel, frame);
        return frame->rect().contains(title) && metrics.horizontalAdvance(caption) <= title.width();
    }
    return true;
}

int ButtonCode(Qt::MouseButton button) {
    switch (button) {
        case Qt::LeftButton: return 1;
        case Qt::RightButton: return 2;
        case Qt::MiddleButton: return 4;
        default: return 0;
    }
}

// A list that only grew since the widget last saw it gets the new items; one whose items were
// changed or removed is shown anew. The control is what counts: the widget's own signals are
// held back meanwhile, so that its passing states never reach the control.
void SyncList(QListWidget* widget, const ListBox& list) {
    const QSignalBlocker quiet(widget);
    const std::vector<std::string>& items = list.Items();
    int count = static_cast<int>(items.size());
    const QVariant edits = widget->property("edits");
    if (count < widget->count() || edits.toInt() != list.Edits()) {
        widget->clear();
        widget->setProperty("edits", list.Edits());
    }
    for (int i = widget->count(); i < count; ++i)
        widget->addItem(QString::fromStdString(items[static_cast<size_t>(i)]));
    if (widget->currentRow() != list.ListIndex()) {
        widget->setCurrentRow(list.ListIndex());
        if (QListWidgetItem* item = widget->currentItem()) widget->scrollToItem(item);
    }
}

// The local file of a drag, if it carries one: the first that it names.
QString DraggedFile(const QMimeData* data) {
    if (!data || !data->hasUrls()) return {};
    for (const QUrl& url : data->urls())
        if (url.isLocalFile()) return url.toLocalFile();
    return {};
}
}  // namespace

QRect ModelCheckBox::CaptionRect() const {
    QStyleOptionButton option;
    initStyleOption(&option);
    int indent = style()->pixelMetric(QStyle::PM_IndicatorWidth, &option, this) +
                 style()->pixelMetric(QStyle::PM_CheckBoxLabelSpacing, &option, this);
    return rect().adjusted(indent, 0, 0, 0);
}

bool ModelCheckBox::hitButton(const QPoint& pos) const { return rect().contains(pos); }

void ModelCheckBox::mousePressEvent(QMouseEvent* event) {
    if (Pressed) Pressed(ButtonCode(event->button()));
    QCheckBox::mousePressEvent(event);
}

void ModelCheckBox::mouseReleaseEvent(QMouseEvent* event) {
    QCheckBox::mouseReleaseEvent(event);
    if (Released) Released(ButtonCode(event->button()));
}

void ModelCheckBox::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const QString caption = option.text;
    option.text.clear();
    painter.drawControl(QStyle::CE_CheckBox, option);
    style()->drawItemText(&painter, CaptionRect(), CheckCaptionFlags, palette(), isEnabled(), caption,
                          QPalette::WindowText);
}

MainWindow::MainWindow(Application& prog, QtPlatform& platform) : prog_(prog), platform_(platform) {
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint);
    setWindowTitle(QString::fromStdString(prog.form.Caption));
    scale_ = logicalDpiX() / 96.0;
    // The layout is measured for a small 8-point dialog font.
    QFont small = font();
    small.setPointSize(8);
    setFont(small);
    if (QScreen* screen = this->screen()) {
        QRect r = screen->geometry();
        prog.form.ScreenWidth = static_cast<int>(r.width() * 15 / scale_);
        prog.form.ScreenHeight = static_cast<int>(r.height() * 15 / scale_);
    }
    Build();
    FitCaptions();
    Bind();
    BindHiddenAccessKeys();
    BindJobList();
    SetTabOrder();
    for (const char* name : {"Text1", "Text2", "Text3"}) widgets_.value(name)->installEventFilter(this);
    platform_.SetWindow(this);
    platform_.SetLogWidgets(widgets_.value("l"), widgets_.value("p"));
    ApplyGeometry();
}

MainWindow::~MainWindow() {
    // The controls outlive the widgets: leave them without a view.
    Form1& form = prog_.form;
    form.GeometryChanged = nullptr;
    form.CloseRequested = nullptr;
    for (const ControlPlace& place : Form1::Layout())
        if (Control* c = form.Find(place.Name)) c->Changed = nullptr;
    platform_.SetWindow(nullptr);
}

int MainWindow::Px(int twips) const { return qRound(twips / 15.0 * scale_); }

void MainWindow::Build() {
    for (const ControlPlace& place : Form1::Layout()) {
        QWidget* parent = place.Parent.empty() ? this : widgets_.value(QString::fromStdString(place.Parent));
        QString caption = QString::fromStdString(place.Caption);
        QWidget* w = nullptr;
        if (place.Kind == "frame") {
            w = new QGroupBox(caption, parent);
        } else if (place.Kind == "check") {
            w = new ModelCheckBox(caption, parent);
        } else if (place.Kind == "button") {
            w = new QPushButton(caption, parent);
        } else if (place.Kind == "list") {
            w = new QListWidget(parent);
        } else if (place.Kind == "text") {
            w = new QLineEdit(parent);
        } else if (place.Kind == "combo") {
            auto* combo = new QComboBox(parent);
            combo->setEditable(false);  // pick from the list only
            w = combo;
        } else if (place.Kind == "label") {
            auto* label = new QLabel(caption, parent);
            label->setTextFormat(Qt::PlainText);
            label->setWordWrap(true);
            w = label;
        } else if (place.Kind == "picture") {
            auto* frame = new QFrame(parent);
            frame->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
            w = frame;
        } else if (place.Kind == "progress") {
            auto* bar = new QProgressBar(parent);
            bar->setRange(0, 100);
            bar->setTextVisible(false);
            w = bar;
        } else {
            w = new QWidget(parent);  // no face of its own
            w->hide();
        }
        w->setObjectName(QString::fromStdString(place.Name));
        w->setGeometry(Px(place.Left), Px(place.Top), Px(place.Width), Px(place.Height));
        widgets_.insert(w->objectName(), w);
    }
    auto* label7 = static_cast<QLabel*>(widgets_.value("Label7"));
    QFont bold = label7->font();
    bold.setBold(true);
    label7->setFont(bold);
    QPalette palette = label7->palette();
    palette.setColor(QPalette::WindowText, QColor(0xC0, 0, 0));
    label7->setPalette(palette);
}

void MainWindow::FitCaptions() {
    // The places are those of the layout table; a caption that doesn't fit at the window's font
    // gets a smaller font in its own widget, half a point at a time. Frames stand before what they
    // hold, so a frame's font never overrides a smaller one that a child needed.
    for (const ControlPlace& place : Form1::Layout()) {
        if (place.Kind != "check" && place.Kind != "label" && place.Kind != "button" && place.Kind != "frame")
            continue;
        QWidget* widget = widgets_.value(QString::fromStdString(place.Name));
        const QString caption = QString::fromStdString(place.Caption);
        QFont font = widget->font();
        while (!CaptionFits(widget, caption) && font.pointSizeF() - 0.5 >= SmallestCaptionPoints) {
            font.setPointSizeF(font.pointSizeF() - 0.5);
            widget->setFont(font);
        }
    }
}

void MainWindow::BindHiddenAccessKeys() {
    // A widget out of sight takes no shortcuts, yet its access key is still the user's way to it.
    // The window takes the key instead and clicks the button, which stays where it is.
    for (const ControlPlace& place : Form1::Layout()) {
        const Control* control = prog_.form.Find(place.Name);
        auto* button = qobject_cast<QPushButton*>(widgets_.value(QString::fromStdString(place.Name)));
        if (!control || !button || control->Visible) continue;
        QKeySequence key = QKeySequence::mnemonic(QString::fromStdString(place.Caption));
        if (key.isEmpty()) continue;
        auto* shortcut = new QShortcut(key, this);
        connect(shortcut, &QShortcut::activated, button, &QAbstractButton::click);
    }
}

void MainWindow::SetTabOrder() {
    QWidget* previous = nullptr;
    for (const std::string& name : Form1::TabOrder()) {
        QWidget* widget = widgets_.value(QString::fromStdString(name));
        if (previous && widget) setTabOrder(previous, widget);
        if (widget) previous = widget;
    }
}

void MainWindow::BindJobList() {
    auto* list = static_cast<QListWidget*>(widgets_.value("ll"));
    list->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(list, &QWidget::customContextMenuRequested, this, [this, list](const QPoint& at) {
        QMenu menu(this);
        for (JobListAction& entry : JobListMenu(prog_)) {
            QAction* action = menu.addAction(QString::fromStdString(entry.Caption));
            action->setEnabled(entry.Enabled);
            connect(action, &QAction::triggered, this, [this, run = entry.Run] { Invoke(run); });
        }
        menu.exec(list->viewport()->mapToGlobal(at));
    });
    list->installEventFilter(this);
}

bool MainWindow::eventFilter(QObject* watched, QEvent* event) {
    auto* widget = qobject_cast<QWidget*>(watched);
    const QString name = widget ? widget->objectName() : QString();
    if (name == "ll" && event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Delete) {
        Invoke([this] { DeleteSelectedJob(prog_); });
        return true;
    }
    if (name.startsWith("Text") && (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove)) {
        auto* drag = static_cast<QDragMoveEvent*>(event);
        if (DraggedFile(drag->mimeData()).isEmpty()) return false;  // the box's own handling of text
        drag->acceptProposedAction();
        return true;
    }
    if (name.startsWith("Text") && event->type() == QEvent::Drop) {
        auto* drop = static_cast<QDropEvent*>(event);
        const QString path = DraggedFile(drop->mimeData());
        if (path.isEmpty()) return false;
        drop->acceptProposedAction();
        // As typing the path would: through the box, whose change event stores it in the job.
        auto* box = static_cast<TextBox*>(prog_.form.Find(name.toStdString()));
        Invoke([box, path] { box->SetText(path.toStdString()); });
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void MainWindow::Invoke(const std::function<void()>& action) {
    try {
        action();
    } catch (const RuntimeError& e) {
        prog_.channels.CloseAllChannels();
        platform_.MessageBox(e.Description, "", BoxIcon::Critical);
    } catch (const std::exception& e) {
        prog_.channels.CloseAllChannels();
        platform_.MessageBox(e.what(), "", BoxIcon::Critical);
    }
}

void MainWindow::ApplyCommon(QWidget* widget, const Control& control) {
    widget->setEnabled(control.Enabled);
    if (widget->isVisibleTo(widget->parentWidget()) != control.Visible) widget->setVisible(control.Visible);
}

void MainWindow::Bind() {
    Form1& form = prog_.form;
    for (const ControlPlace& place : Form1::Layout()) {
        Control* control = form.Find(place.Name);
        QWidget* w = widgets_.value(QString::fromStdString(place.Name));
        if (!control || !w || place.Kind == "dialog" || place.Kind == "zlib") continue;

        if (auto* list = qobject_cast<QListWidget*>(w)) {
            auto* model = static_cast<ListBox*>(control);
            // The conversion's id lists are never in sight; they are left without a view.
            if (!model->Visible) {
                ApplyCommon(w, *control);
                continue;
            }
            control->Changed = [this, list, model] {
                SyncList(list, *model);
                ApplyCommon(list, *model);
            };
            connect(list, &QListWidget::currentRowChanged, this, [this, model](int row) {
                if (row != model->ListIndex()) Invoke([model, row] { model->SetListIndex(row); });
            });
        } else if (auto* edit = qobject_cast<QLineEdit*>(w)) {
            auto* model = static_cast<TextBox*>(control);
            control->Changed = [this, edit, model] {
                QString text = QString::fromStdString(model->Text());
                if (edit->text() != text) edit->setText(text);
                ApplyCommon(edit, *model);
            };
            connect(edit, &QLineEdit::textEdited, this,
                    [this, model](const QString& text) { Invoke([model, text] { model->SetText(text.toStdString()); }); });
        } else if (auto* check = qobject_cast<ModelCheckBox*>(w)) {
            auto* model = static_cast<CheckBox*>(control);
            control->Changed = [this, check, model] {
                check->setChecked(model->Value() == 1);
                ApplyCommon(check, *model);
            };
            check->Pressed = [this, model](int button) {
                Invoke([model, button] {
                    if (model->MouseDown) model->MouseDown(button);
                });
            };
            check->Released = [this, model](int button) {
                Invoke([model, button] {
                    if (model->MouseUp) model->MouseUp(button);
                });
            };
            connect(check, &QCheckBox::clicked, this,
                    [this, model](bool on) { Invoke([model, on] { model->SetValue(on ? 1 : 0); }); });
        } else if (auto* combo = qobject_cast<QComboBox*>(w)) {
            auto* model = static_cast<ComboBox*>(control);
            control->Changed = [this, combo, model] {
                if (combo->count() != model->ListCount()) {
                    combo->clear();
                    for (int i = 0; i < model->ListCount(); ++i) combo->addItem(QString::fromStdString(model->List(i)));
                }
                combo->setCurrentIndex(model->ListIndex());
                ApplyCommon(combo, *model);
            };
            connect(combo, &QComboBox::activated, this,
                    [this, model](int index) { Invoke([model, index] { model->SetListIndex(index); }); });
        } else if (auto* bar = qobject_cast<QProgressBar*>(w)) {
            auto* model = static_cast<ProgressBar*>(control);
            control->Changed = [bar, model] {
                bar->setValue(static_cast<int>(model->Value()));
                bar->repaint();
            };
        } else if (auto* button = qobject_cast<QPushButton*>(w)) {
            auto* model = static_cast<CommandButton*>(control);
            control->Changed = [this, button, model] { ApplyCommon(button, *model); };
            connect(button, &QPushButton::clicked, this, [this, model] { Invoke([model] { model->Press(); }); });
        } else {
            control->Changed = [this, w, control] { ApplyCommon(w, *control); };
        }
        if (control->Changed) control->Changed();
    }
    form.GeometryChanged = [this] { ApplyGeometry(); };
    form.CloseRequested = [this] { close(); };
}

void MainWindow::ApplyGeometry() {
    const Form1& form = prog_.form;
    setFixedSize(Px(form.Width - Form1::BorderWidth), Px(form.Height - Form1::BorderHeight));
    move(Px(static_cast<int>(form.Left)), Px(static_cast<int>(form.Top)));
    if (form.Shown && !isVisible()) show();
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    Form1& form = prog_.form;
    QSize held(Px(form.Width - Form1::BorderWidth), Px(form.Height - Form1::BorderHeight));
    if (form.State != WindowState::Normal || size() == held) return;
    // Tell the form; its resize event puts the held size back.
    int width = static_cast<int>(this->width() * 15 / scale_) + Form1::BorderWidth;
    int height = static_cast<int>(this->height() * 15 / scale_) + Form1::BorderHeight;
    Invoke([&form, width, height] { form.SetSize(width, height); });
}

void MainWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange) return;
    Qt::WindowStates state = windowState();
    prog_.form.State = state & Qt::WindowMinimized   ? WindowState::Minimized
                       : state & Qt::WindowMaximized ? WindowState::Maximized
                                                     : WindowState::Normal;
    if (prog_.form.State == WindowState::Normal) Invoke([this] { Form_Resize(prog_); });
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!unloaded_) {
        unloaded_ = true;
        Form_Unload(prog_);
    }
    event->accept();
}
