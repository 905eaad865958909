#include "core/Form1.h"

#include <algorithm>

const std::vector<ControlPlace>& Form1::Layout() {
    static const std::vector<ControlPlace> table = {
        {"Frame3", "frame", "", "Options", 5040, 7200, 5055, 1095},
        {"Check1", "check", "Frame3", "Erase items", 120, 240, 1455, 375},
        {"Check2", "check", "Frame3", "Erase static meshes", 2040, 240, 1935, 375},
        {"Check3", "check", "Frame3", "Optimize textures with toptimizer.exe", 120, 600, 1695, 375},
        {"Check4", "check", "Frame3", "Cutscene (TR2 - TR3) (test)", 2040, 600, 2655, 375},
        // Below the log and the job buttons, in the strip above the TR5 frame.
        {"Check6", "check", "", EngineReadyCaption, 5040, 4860, 5055, 285},
        {"Command13", "button", "", "B&uild BAT", 3720, 8400, 1215, 375},
        {"Command12", "button", "", "Command12", 11280, 4440, 1095, 615},
        {"Command11", "button", "", "&Save settings", 5040, 8400, 1335, 375},
        {"Command10", "button", "", "&Edit", 9000, 4440, 1080, 375},
        {"Command9", "button", "", "&Delete", 7800, 4440, 1080, 375},
        {"Command8", "button", "", "&Add", 6600, 4440, 1080, 375},
        {"ll", "list", "", "", 6600, 480, 3495, 3765},
        {"cd", "dialog", "", "", 0, 0, 0, 0},
        {"Command7", "button", "", "Extract &WAD", 11160, 5280, 1575, 615},
        {"l4", "list", "", "", 13560, 240, 1335, 3960},
        {"Command3", "button", "", "E&xit", 7800, 8400, 975, 375},
        {"Command2", "button", "", "&Help", 6600, 8400, 1095, 375},
        {"Command1", "button", "", "&Build level", 9000, 8400, 1095, 375},
        {"Frame2", "frame", "", "TR5", 5040, 5160, 5055, 1935},
        {"Check5", "check", "Frame2", "Convert spot lighs and sun objects in normal lights (test)", 2160, 1440, 2535,
         375},
        {"Text4", "text", "Frame2", "0", 960, 1560, 855, 285},
        {"Combo2", "combo", "Frame2", "", 120, 1080, 4815, 315},
        {"Combo1", "combo", "Frame2", "", 120, 480, 4815, 315},
        {"Label6", "label", "Frame2", "UV Range:", 120, 1560, 1095, 255},
        {"Label5", "label", "Frame2", "Weather:", 120, 840, 1695, 255},
        {"Label4", "label", "Frame2", "Lara type:", 120, 240, 1815, 255},
        {"Frame1", "frame", "", "Level filenames", 120, 5160, 4815, 3135},
        {"Command6", "button", "Frame1", "Browse...", 3480, 2640, 1215, 375},
        {"Command5", "button", "Frame1", "Browse...", 3480, 1800, 1215, 375},
        {"Command4", "button", "Frame1", "Browse...", 3480, 960, 1215, 375},
        {"Text3", "text", "Frame1", "", 120, 2280, 4575, 285},
        {"Text2", "text", "Frame1", "", 120, 1440, 4575, 285},
        {"Text1", "text", "Frame1", "", 120, 600, 4575, 285},
        {"Label3", "label", "Frame1", "New level:", 120, 2040, 855, 255},
        {"Label2", "label", "Frame1", "Base level:", 120, 1200, 1335, 255},
        {"Label1", "label", "Frame1", "Source level:", 120, 360, 1335, 255},
        {"Picture1", "picture", "", "", 120, 4440, 6375, 255},
        {"p", "progress", "Picture1", "", 0, 0, 6375, 255},
        {"z", "zlib", "", "", 120, 4800, 6375, 255},
        {"l3", "list", "", "", 12480, 240, 975, 3960},
        {"l2", "list", "", "", 11160, 240, 1215, 3960},
        {"l", "list", "", "", 120, 120, 6375, 4155},
        {"Label8", "label", "", "Levels:", 6600, 120, 3495, 255},
        {"Label7", "label", "", "Beta Version 4", 120, 8400, 3375, 375},
    };
    return table;
}

std::array<Control*, 45> Form1::All() {
    return {&ll,        &Text1,     &Text2,     &Text3,    &Text4,    &Combo1,   &Combo2,   &Check1,
            &Check2,    &Check3,    &Check4,    &Check5,   &Check6,   &l,        &p,        &l2,       &l3,
            &l4,        &Frame1,    &Frame2,    &Frame3,   &Command1, &Command2, &Command3, &Command4,
            &Command5,  &Command6,  &Command7,  &Command8, &Command9, &Command10, &Command11,
            &Command12, &Command13, &Label1,    &Label2,   &Label3,   &Label4,   &Label5,   &Label6,
            &Label7,    &Label8,    &Picture1,  &cd,       &z};
}

namespace {
bool Tabbable(const std::string& kind) {
    return kind == "check" || kind == "button" || kind == "list" || kind == "text" || kind == "combo";
}

// The controls of one parent in reading order, each frame followed by its own.
void AppendInReadingOrder(const std::string& parent, std::vector<std::string>& order) {
    std::vector<const ControlPlace*> places;
    for (const ControlPlace& place : Form1::Layout())
        if (place.Parent == parent && place.Left < Form1::ClientWidth && (Tabbable(place.Kind) || place.Kind == "frame"))
            places.push_back(&place);
    std::stable_sort(places.begin(), places.end(), [](auto* a, auto* b) { return a->Top < b->Top; });
    // A row: the topmost control left, and those whose tops lie above its middle.
    for (size_t first = 0; first < places.size();) {
        const int middle = places[first]->Top + places[first]->Height / 2;
        size_t end = first + 1;
        while (end < places.size() && places[end]->Top < middle) ++end;
        std::stable_sort(places.begin() + first, places.begin() + end,
                         [](auto* a, auto* b) { return a->Left < b->Left; });
        for (size_t i = first; i < end; ++i) {
            if (places[i]->Kind == "frame") AppendInReadingOrder(places[i]->Name, order);
            else order.push_back(places[i]->Name);
        }
        first = end;
    }
}
}  // namespace

std::vector<std::string> Form1::TabOrder() {
    std::vector<std::string> order;
    AppendInReadingOrder("", order);
    return order;
}

Control* Form1::Find(const std::string& name) {
    for (Control* c : All())
        if (c->Name == name) return c;
    return nullptr;
}

namespace {
// The controls' names, in the order of Form1::All().
constexpr const char* ControlNames[] = {
    "ll",       "Text1",    "Text2",     "Text3",     "Text4",     "Combo1",    "Combo2",    "Check1",   "Check2",
    "Check3",   "Check4",   "Check5",    "Check6",    "l",         "p",         "l2",        "l3",       "l4",
    "Frame1",   "Frame2",   "Frame3",    "Command1",  "Command2",  "Command3",  "Command4",  "Command5", "Command6",
    "Command7", "Command8", "Command9",  "Command10", "Command11", "Command12", "Command13", "Label1",   "Label2",
    "Label3",   "Label4",   "Label5",    "Label6",    "Label7",    "Label8",    "Picture1",  "cd",       "z"};
static_assert(std::size(ControlNames) == 45);

// For each row of the layout table, the place of its control in Form1::All() (-1: none),
// worked out once: a form is made for every conversion.
const std::vector<int>& LayoutControls() {
    static const std::vector<int> table = [] {
        std::vector<int> t;
        for (const ControlPlace& place : Form1::Layout()) {
            int found = -1;
            for (size_t i = 0; i < std::size(ControlNames); ++i)
                if (found < 0 && place.Name == ControlNames[i]) found = static_cast<int>(i);
            t.push_back(found);
        }
        return t;
    }();
    return table;
}
}  // namespace

Form1::Form1() {
    // Names and captions from the layout table.
    const std::array<Control*, 45> all = All();
    for (size_t i = 0; i < all.size(); ++i) all[i]->Name = ControlNames[i];
    const std::vector<ControlPlace>& layout = Layout();
    const std::vector<int>& controls = LayoutControls();
    for (size_t row = 0; row < layout.size(); ++row) {
        const ControlPlace& place = layout[row];
        Control* c = controls[row] < 0 ? nullptr : all[static_cast<size_t>(controls[row])];
        if (c && place.Kind != "text") c->Caption = place.Caption;
        // Whatever lies right of the client area is never in sight.
        if (c && place.Parent.empty() && place.Left >= ClientWidth) c->Visible = false;
    }
    cd.Visible = z.Visible = false;

    // Buttons that have no use yet and that nothing ever activates.
    Command2.Enabled = Command9.Enabled = Command10.Enabled = Command13.Enabled = false;

    // Contents at start, set before any handler is wired so that no event fires.
    Text4.SetText("0");
    Check3.SetValue(1);
    for (const char* item : {"0 - Normal Lara", "1 - Young Lara", "2 - Unknown", "3 - Catsuit", "4 - Diving suit"})
        Combo1.AddItem(item);
    for (const char* item : {"0 - No weather", "1 - Rain", "2 - Snow"}) Combo2.AddItem(item);
}

void Form1::Show() {
    Shown = true;
    if (GeometryChanged) GeometryChanged();
}

void Form1::SetSize(int width, int height) {
    bool changed = width != Width || height != Height;
    Width = width;
    Height = height;
    if (GeometryChanged) GeometryChanged();
    if (changed && Resize) Resize();
}

void Form1::SetPosition(double left, double top) {
    Left = left;
    Top = top;
    if (GeometryChanged) GeometryChanged();
}
