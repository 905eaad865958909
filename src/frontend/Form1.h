#pragma once
// The one window's controls, by their names in the window table, as plain objects. The
// conversion reads its options from here; the front end wires the events to its handlers.
#include "frontend/Controls.h"

struct Form1 {
    Form1();

    std::string Caption = "MORV Level Compiler BETA 4";

    // Jobs and the selected job's boxes.
    ListBox ll;
    TextBox Text1, Text2, Text3, Text4;
    ComboBox Combo1, Combo2;
    CheckBox Check1, Check2, Check3, Check4, Check5;

    // Log list, progress bar, and the conversion's hidden lists of texture ids.
    ListBox l;
    ProgressBar p;
    ListBox l2{true};
    ListBox l3, l4;
};
