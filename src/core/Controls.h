#pragma once
// The window's controls as plain objects. Setting a value from code fires the same event as a
// user's action, so the conversion and the handlers work the same with or without a screen.
// A window toolkit binds to them through the Changed hook (model -> view) and the setters
// (view -> model).
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

struct Control {
    std::string Name;
    std::string Caption;
    bool Enabled = true;
    bool Visible = true;
    // Tells a bound view that something of this control changed.
    std::function<void()> Changed;
    void NotifyChanged() {
        if (Changed) Changed();
    }
    void SetEnabled(bool enabled) {
        Enabled = enabled;
        NotifyChanged();
    }
};

class ListBox : public Control {
public:
    explicit ListBox(bool sorted = false) : Sorted(sorted) {}
    bool Sorted;
    std::function<void()> Click;

    void AddItem(const std::string& text);
    // Changes the text of an item, or takes it out of the list (the items behind it move up one
    // place). A selection behind a removed item moves up with it; a removed selected item leaves
    // the list without a selection. No event fires. Unsorted lists only.
    void SetItem(int index, const std::string& text);
    void RemoveItem(int index);
    // How many items were changed or removed, or the list cleared, so far: a bound view that saw
    // the same count has only to add what was appended since.
    int Edits() const { return edits_; }
    void Clear();
    int ListCount() const { return static_cast<int>(items_.size()); }
    const std::string& List(int index) const;  // error 9... returns "" outside range as the list does
    int ListIndex() const { return index_; }
    // Setting the index fires Click (also when it stays the same, as the list box does).
    void SetListIndex(int index);
    std::string Text() const;
    const std::vector<std::string>& Items() const;

private:
    void SortIfNeeded() const;
    mutable std::vector<std::string> items_;
    mutable bool dirty_ = false;  // sorted list: entries appended since the last sort
    int index_ = -1;
    int edits_ = 0;
};

class TextBox : public Control {
public:
    std::function<void()> Change;
    const std::string& Text() const { return text_; }
    void SetText(const std::string& text);

private:
    std::string text_;
};

class CheckBox : public Control {
public:
    std::function<void()> Click;
    // Mouse-down with the button number (1 left, 2 right, 4 middle).
    std::function<void(int button)> MouseDown;
    // Mouse-up, the same numbers; it comes after the box has changed, or has stayed as it was.
    std::function<void(int button)> MouseUp;
    int Value() const { return value_; }
    void SetValue(int value);

private:
    int value_ = 0;
};

class ComboBox : public Control {
public:
    std::function<void()> Click;
    void AddItem(const std::string& text) {
        items_.push_back(text);
        NotifyChanged();
    }
    int ListCount() const { return static_cast<int>(items_.size()); }
    const std::string& List(int index) const;
    int ListIndex() const { return index_; }
    void SetListIndex(int index);
    std::string Text() const { return index_ >= 0 && index_ < ListCount() ? items_[index_] : std::string(); }

private:
    std::vector<std::string> items_;
    int index_ = -1;
};

class ProgressBar : public Control {
public:
    float Min = 0, Max = 100;
    float Value() const { return value_; }
    void SetValue(float v);

private:
    float value_ = 0;
};

class CommandButton : public Control {
public:
    std::function<void()> Click;
    void Press() {
        if (Click) Click();
    }
};

struct Label : Control {};
struct Frame : Control {};
