// A record's fields bound to the widgets that show them. fill() shows every
// field; an edit the operator makes (typing, choosing from a list, clicking
// a box or a "Yes"/"No" answer) writes its field back at once and marks
// its change bit. Only the operator's own signals are listened to
// (textEdited, activated, clicked), so filling writes nothing back. The
// connections outlive the binding; keep it only to fill again.
#pragma once

#include "store/FixedText.h"
#include "ui/widgets/FormWidgets.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLineEdit>

#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

namespace cz {

template <class Record>
class FieldBinding {
public:
    // `record` gives the record the widgets show; `edited` runs after every
    // edit has been written, with the change bit of its field.
    FieldBinding(QWidget *owner, std::function<Record &()> record, std::function<void(std::uint64_t bit)> edited)
        : owner_(owner), record_(std::move(record)), edited_(std::move(edited))
    {
    }

    // (`Owner` is the record or the base class that holds the field.)
    template <class Owner, std::size_t N>
    void text(QLineEdit *edit, FixedText<N> Owner::*field, std::uint64_t bit = 0)
    {
        static_assert(std::is_base_of_v<Owner, Record>);
        fills_.push_back([record = record_, edit, field] { edit->setText((record().*field).str()); });
        QObject::connect(edit, &QLineEdit::textEdited, owner_, [record = record_, edited = edited_, field, bit](const QString &typed) {
            record().*field = typed;
            edited(bit);
        });
    }

    // A whole number typed as text; an empty field reads as 0.
    void number(QLineEdit *edit, std::int32_t Record::*field, std::uint64_t bit = 0)
    {
        fills_.push_back([record = record_, edit, field] { edit->setText(QString::number(record().*field)); });
        QObject::connect(edit, &QLineEdit::textEdited, owner_, [record = record_, edited = edited_, field, bit](const QString &typed) {
            record().*field = typed.toInt();
            edited(bit);
        });
    }

    // A 0/1 field shown by a check box.
    void flag(QAbstractButton *box, std::int32_t Record::*field, std::uint64_t bit = 0)
    {
        fills_.push_back([record = record_, box, field] { box->setChecked(record().*field != 0); });
        QObject::connect(box, &QAbstractButton::clicked, owner_, [record = record_, edited = edited_, field, bit](bool on) {
            record().*field = on ? 1 : 0;
            edited(bit);
        });
    }

    // A 0/1 field answered "Yes" or "No".
    void flag(YesNoField *answer, std::int32_t Record::*field, std::uint64_t bit = 0)
    {
        fills_.push_back([record = record_, answer, field] { answer->setValue(record().*field != 0); });
        QObject::connect(answer, &YesNoField::changed, owner_, [record = record_, edited = edited_, field, bit](bool yes) {
            record().*field = yes ? 1 : 0;
            edited(bit);
        });
    }

    // A field chosen from a list: `index` gives the entry that shows the
    // record's value (-1 for none), `take` stores the value of entry k.
    void choice(QComboBox *list, std::function<int(const Record &)> index, std::function<void(Record &, int)> take,
                std::uint64_t bit = 0)
    {
        fills_.push_back([record = record_, list, index] { list->setCurrentIndex(index(record())); });
        QObject::connect(list, &QComboBox::activated, owner_, [record = record_, edited = edited_, take, bit](int k) {
            take(record(), k);
            edited(bit);
        });
    }

    // Every widget shows its field.
    void fill() const
    {
        for (const auto &f : fills_)
            f();
    }

private:
    QWidget *owner_;
    std::function<Record &()> record_;
    std::function<void(std::uint64_t)> edited_;
    std::vector<std::function<void()>> fills_;
};

} // namespace cz
