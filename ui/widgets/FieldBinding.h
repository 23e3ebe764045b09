// A record's fields bound to the widgets that show them. fill() shows every
// field; any change of what a widget shows afterwards (typing, pasting, a
// choice from a list, a click, or a value set through the accessibility
// interface by dictation or switch access) writes its field back at once
// and reports its key, so what is saved is what the field shows.
// Changes made by fill() itself write nothing back. The connections
// outlive the binding; keep it only to fill again.
#pragma once

#include "store/FixedText.h"
#include "ui/widgets/FormWidgets.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>

#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <vector>

namespace cz {

template <class Record>
class FieldBinding {
public:
    // `record` gives the record the widgets show; `edited` runs after every
    // edit has been written, with the file key of its field (null when the
    // binding was given none).
    FieldBinding(QWidget *owner, std::function<Record &()> record, std::function<void(const char *key)> edited)
        : owner_(owner), state_(std::make_shared<State>(State{std::move(record), std::move(edited), false}))
    {
    }

    // (`Owner` is the record or the base class that holds the field.)
    template <class Owner, std::size_t N>
    void text(QLineEdit *edit, FixedText<N> Owner::*field, const char *key = nullptr)
    {
        static_assert(std::is_base_of_v<Owner, Record>);
        fills_.push_back([record = state_->record, edit, field] { edit->setText((record().*field).str()); });
        QObject::connect(edit, &QLineEdit::textChanged, owner_, [this_ = state(), field, key](const QString &shown) {
            if (this_->filling)
                return;
            this_->record().*field = shown;
            this_->edited(key);
        });
    }

    // A whole number typed as text; an empty field reads as 0.
    void number(QLineEdit *edit, std::int32_t Record::*field, const char *key = nullptr)
    {
        fills_.push_back([record = state_->record, edit, field] { edit->setText(QString::number(record().*field)); });
        QObject::connect(edit, &QLineEdit::textChanged, owner_, [this_ = state(), field, key](const QString &shown) {
            if (this_->filling)
                return;
            this_->record().*field = shown.toInt();
            this_->edited(key);
        });
    }

    // A 0/1 field shown by a check box.
    void flag(QAbstractButton *box, std::int32_t Record::*field, const char *key = nullptr)
    {
        fills_.push_back([record = state_->record, box, field] { box->setChecked(record().*field != 0); });
        QObject::connect(box, &QAbstractButton::toggled, owner_, [this_ = state(), field, key](bool on) {
            if (this_->filling)
                return;
            this_->record().*field = on ? 1 : 0;
            this_->edited(key);
        });
    }

    // A 0/1 field answered "Yes" or "No".
    void flag(YesNoField *answer, std::int32_t Record::*field, const char *key = nullptr)
    {
        fills_.push_back([record = state_->record, answer, field] { answer->setValue(record().*field != 0); });
        QObject::connect(answer, &YesNoField::changed, owner_, [this_ = state(), field, key](bool yes) {
            if (this_->filling)
                return;
            this_->record().*field = yes ? 1 : 0;
            this_->edited(key);
        });
    }

    // A field chosen from a list: `index` gives the entry that shows the
    // record's value (-1 for none), `take` stores the value of entry k.
    void choice(QComboBox *list, std::function<int(const Record &)> index, std::function<void(Record &, int)> take,
                const char *key = nullptr)
    {
        fills_.push_back([record = state_->record, list, index] { list->setCurrentIndex(index(record())); });
        QObject::connect(list, &QComboBox::currentIndexChanged, owner_, [this_ = state(), take, key](int k) {
            if (this_->filling || k < 0)
                return;
            take(this_->record(), k);
            this_->edited(key);
        });
    }

    // Every widget shows its field.
    void fill() const
    {
        state_->filling = true;
        for (const auto &f : fills_)
            f();
        state_->filling = false;
    }

private:
    // Shared with the connections, which outlive the binding.
    struct State {
        std::function<Record &()> record;
        std::function<void(const char *key)> edited;
        bool filling;
    };
    std::shared_ptr<State> state() const { return state_; }

    QWidget *owner_;
    std::shared_ptr<State> state_;
    std::vector<std::function<void()>> fills_;
};

} // namespace cz
