#include "frontend/Form1.h"

Form1::Form1() {
    ll.Name = "ll";
    Text1.Name = "Text1";
    Text2.Name = "Text2";
    Text3.Name = "Text3";
    Text4.Name = "Text4";
    Combo1.Name = "Combo1";
    Combo2.Name = "Combo2";
    Check1.Name = "Check1";
    Check2.Name = "Check2";
    Check3.Name = "Check3";
    Check4.Name = "Check4";
    Check5.Name = "Check5";
    l.Name = "l";
    p.Name = "p";
    l2.Name = "l2";
    l3.Name = "l3";
    l4.Name = "l4";
    l2.Visible = l3.Visible = l4.Visible = false;
}
