#pragma once
// The one window's controls, by their names in the window table, as plain objects. The
// conversion reads its options from here; the front end wires the events to its handlers, and a
// window toolkit binds its widgets to the same objects.
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "core/Controls.h"

// Where a control stands in the window, in twips relative to its parent.
struct ControlPlace {
    std::string Name;
    std::string Kind;    // frame, check, button, list, dialog, text, combo, label, picture, progress, zlib
    std::string Parent;  // "" for the window itself
    std::string Caption;
    int Left = 0, Top = 0, Width = 0, Height = 0;
};

enum class WindowState { Normal = 0, Minimized = 1, Maximized = 2 };

// The caption of Check6, the engine-ready option, as lines that name the option quote it.
inline constexpr const char* EngineReadyCaption = "Engine-ready level (TR1 items and textures, TR5 vertices)";

struct Form1 {
    Form1();
    Form1(const Form1&) = delete;
    Form1& operator=(const Form1&) = delete;

    std::string Caption = "MORV Level Compiler BETA 4";

    // Size of the client area in twips, and the outer size of the window around it.
    static constexpr int ClientWidth = 10200;
    static constexpr int ClientHeight = 8895;
    static constexpr int BorderWidth = 120;   // both side borders together
    static constexpr int BorderHeight = 510;  // caption bar and borders together

    // Outer geometry in twips; a bound view follows it and reports the user's changes.
    double Left = 0, Top = 0;
    int Width = ClientWidth + BorderWidth;
    int Height = ClientHeight + BorderHeight;
    WindowState State = WindowState::Normal;
    bool Shown = false;
    // Screen size in twips, as the view knows it.
    int ScreenWidth = 1024 * 15;
    int ScreenHeight = 768 * 15;

    // View hooks: geometry or visibility changed; the window is asked to close.
    std::function<void()> GeometryChanged;
    std::function<void()> CloseRequested;
    // Event of the form: its size changed.
    std::function<void()> Resize;

    void Show();
    void SetSize(int width, int height);
    void SetPosition(double left, double top);

    // Jobs and the selected job's boxes.
    ListBox ll;
    TextBox Text1, Text2, Text3, Text4;
    ComboBox Combo1, Combo2;
    CheckBox Check1, Check2, Check3, Check4, Check5;
    // The engine layout: TR1 and Gold items as 22-byte records, TR5 VerticesSize without the
    // filler bytes. Off at start; a job keeps it in the first byte of its Reserved area.
    CheckBox Check6;

    // Log list, progress bar, and the conversion's hidden lists of texture ids.
    ListBox l;
    ProgressBar p;
    ListBox l2{true};
    ListBox l3, l4;

    Frame Frame1, Frame2, Frame3;
    CommandButton Command1, Command2, Command3, Command4, Command5, Command6, Command7, Command8, Command9,
        Command10, Command11, Command12, Command13;
    Label Label1, Label2, Label3, Label4, Label5, Label6, Label7, Label8;
    Control Picture1;
    // The file dialog and the zlib file tool have no face of their own; they stand in the table
    // for their place in the control order.
    Control cd, z;

    // Every control in the window's control order, with its place.
    static const std::vector<ControlPlace>& Layout();
    // The controls a user can tab to (check boxes, buttons, lists, text boxes, pick lists), in the
    // order of the layout as it is read: top to bottom and, within a row, left to right; a frame's
    // controls come where the frame stands. A row is the topmost control left and those whose tops
    // lie above its middle.
    static std::vector<std::string> TabOrder();
    // The control of a name in the layout, or nullptr.
    Control* Find(const std::string& name);

private:
    // Every control, in the order of the names that the constructor gives them.
    std::array<Control*, 45> All();
};
