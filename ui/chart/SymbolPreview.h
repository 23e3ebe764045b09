// A 24 x 24 picture of one chart symbol in a colour on black, that opens
// the symbol selector (the colours and symbols dialog shows one a probe).
#pragma once

#include "ui/widgets/PickerBox.h"

#include <QColor>

namespace cz {

class SymbolPreview final : public PickerBox {
    Q_OBJECT
public:
    SymbolPreview(const QString &what, QWidget *parent);
    void show(int symbol, const QColor &color);
    int symbol() const { return symbol_; }
    QSize sizeHint() const override { return {28, 28}; }

protected:
    void paintContent(QPainter &painter, const QRect &inside) override;

private:
    QString what_;
    int symbol_ = -1;
    QColor color_;
};

} // namespace cz
