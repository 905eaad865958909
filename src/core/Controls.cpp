#include "core/Controls.h"

#include "core/Errors.h"

void ListBox::AddItem(const std::string& text) {
    items_.push_back(text);
    // A sorted list keeps text order with repeats in the order they came; a stable sort of the
    // appended entries gives the same order as inserting each one behind its equals, without
    // shifting the list once per entry.
    if (Sorted) dirty_ = true;
    NotifyChanged();
}

void ListBox::SortIfNeeded() const {
    if (!dirty_) return;
    std::stable_sort(items_.begin(), items_.end());
    dirty_ = false;
}

void ListBox::Clear() {
    items_.clear();
    dirty_ = false;
    index_ = -1;
    ++edits_;
    NotifyChanged();
}

void ListBox::SetItem(int index, const std::string& text) {
    if (Sorted || index < 0 || index >= ListCount()) Raise(Err::InvalidProcedureCall);
    items_[static_cast<size_t>(index)] = text;
    ++edits_;
    NotifyChanged();
}

void ListBox::RemoveItem(int index) {
    if (Sorted || index < 0 || index >= ListCount()) Raise(Err::InvalidProcedureCall);
    items_.erase(items_.begin() + index);
    if (index_ == index) index_ = -1;
    else if (index_ > index) --index_;
    ++edits_;
    NotifyChanged();
}

const std::string& ListBox::List(int index) const {
    static const std::string empty;
    SortIfNeeded();
    if (index < 0 || index >= ListCount()) return empty;
    return items_[static_cast<size_t>(index)];
}

const std::vector<std::string>& ListBox::Items() const {
    SortIfNeeded();
    return items_;
}

void ListBox::SetListIndex(int index) {
    if (index < -1 || index >= ListCount()) Raise(Err::InvalidProcedureCall);
    index_ = index;
    NotifyChanged();
    if (Click) Click();
}

std::string ListBox::Text() const { return List(index_); }

void TextBox::SetText(const std::string& text) {
    if (text == text_) return;
    text_ = text;
    NotifyChanged();
    if (Change) Change();
}

void CheckBox::SetValue(int value) {
    if (value < 0 || value > 2) Raise(Err::InvalidProcedureCall);
    if (value == value_) return;
    value_ = value;
    NotifyChanged();
    if (Click) Click();
}

const std::string& ComboBox::List(int index) const {
    static const std::string empty;
    if (index < 0 || index >= ListCount()) return empty;
    return items_[static_cast<size_t>(index)];
}

void ComboBox::SetListIndex(int index) {
    if (index < -1 || index >= ListCount()) Raise(Err::InvalidProcedureCall);
    index_ = index;
    NotifyChanged();
    if (Click) Click();
}

void ProgressBar::SetValue(float v) {
    if (v < Min || v > Max) Raise(Err::InvalidProcedureCall);
    value_ = v;
    NotifyChanged();
}
