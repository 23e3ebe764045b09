#include "ui/config/ThresholdEntry.h"

#include <QLineEdit>
#include <QSignalBlocker>

#include <cstdlib>

namespace cz {

namespace {

// Whole degrees each unit's list offers; Rankine shares Kelvin's.
constexpr int kLowerBound[4] = {-139, -95, 178, 178};
constexpr int kUpperBound[4] = {572, 300, 573, 573};
constexpr int kPercentEntries = 101;

int unitsIndex(DisplayUnits u)
{
    const int i = int(u);
    return i >= 0 && i < 4 ? i : 0;
}

bool onlyCharacters(const QString &text, QLatin1String allowed)
{
    for (QChar c : text)
        if (!QString(allowed).contains(c))
            return false;
    return true;
}

} // namespace

ThresholdEntry::ThresholdEntry(QWidget *parent) : QComboBox(parent)
{
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    // Typed digits stay as typed: completing "-" to "-139" would store it.
    setCompleter(nullptr);
    setMaxVisibleItems(16);
    setMinimumContentsLength(8);
    connect(this, &QComboBox::editTextChanged, this, &ThresholdEntry::typed);
    connect(lineEdit(), &QLineEdit::editingFinished, this, &ThresholdEntry::editingDone);
    connect(this, &QComboBox::activated, this, &ThresholdEntry::editingDone);
}

void ThresholdEntry::setScale(ProbeType type, DisplayUnits units)
{
    type_ = type;
    // Humidity and wetness share one list of percentages.
    const int listed = temperature() ? unitsIndex(units) : -1;
    if (listed == listedUnits_)
        return;
    listedUnits_ = listed;
    QStringList entries;
    if (temperature()) {
        for (int v = kLowerBound[listed]; v <= kUpperBound[listed]; ++v)
            entries << QString::number(v);
    } else {
        for (int v = 0; v < kPercentEntries; ++v)
            entries << QString::number(v);
    }
    const QSignalBlocker block(this);
    clear();
    addItems(entries);
}

void ThresholdEntry::showValue(double value)
{
    const QSignalBlocker block(this);
    QString text;
    if (temperature()) {
        text = QString::asprintf("%0.1f", value);
        if (text.endsWith(QLatin1String(".0")))
            text.chop(2);
    } else {
        const int percent = int(value);
        text = QString::number(percent);
        if (percent >= 0 && percent < count()) {
            setCurrentIndex(percent);
            accepted_ = currentText();
            return;
        }
    }
    int at = findText(text, Qt::MatchExactly);
    if (at < 0) {
        addItem(text);
        at = count() - 1;
    }
    setCurrentIndex(at);
    accepted_ = text;
}

void ThresholdEntry::showZero()
{
    const QSignalBlocker block(this);
    setCurrentIndex(temperature() ? std::abs(kLowerBound[listedUnits_]) : 0);
    accepted_ = currentText();
}

void ThresholdEntry::takeShownText()
{
    typed(currentText());
}

void ThresholdEntry::typed(const QString &typedText)
{
    QString text = typedText;
    if (!onlyCharacters(text, temperature() ? QLatin1String("-0123456789.") : QLatin1String("0123456789"))) {
        const QSignalBlocker block(this);
        const int cursor = lineEdit()->cursorPosition();
        setEditText(accepted_);
        lineEdit()->setCursorPosition(qMin(cursor, int(accepted_.size())));
        return;
    }
    // One digit after the point; three digits for a percentage.
    const qsizetype point = text.indexOf(QLatin1Char('.'));
    const qsizetype keep = temperature() ? (point >= 0 ? point + 2 : text.size()) : 3;
    if (text.size() > keep) {
        text.truncate(keep);
        const QSignalBlocker block(this);
        setEditText(text);
    }
    accepted_ = text;
    if (text.isEmpty() || (text.contains(QLatin1Char('-')) && text.size() < 2))
        return;
    emit valueEdited(temperature() ? std::strtod(text.toLatin1().constData(), nullptr) : double(text.toInt()));
}

} // namespace cz
