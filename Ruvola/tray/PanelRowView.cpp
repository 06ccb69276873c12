#include "Ruvola/tray/PanelRowView.hpp"

#include "Ruvola/tray/PanelSymbols.hpp"

#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

namespace ruvola::panel {
namespace {

QFont smallFont(const QFont& font) {
    return scaledFont(font, 0.85);
}

QColor secondaryInk(const QPalette& palette) {
    return withAlpha(palette.color(QPalette::WindowText), 140);
}

// Editing a row's label; Escape puts the text back instead of closing the panel.
class NameField final : public QLineEdit {
public:
    using QLineEdit::QLineEdit;
    std::function<void()> onAbandoned;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Escape) {
            undoAll();
            if (onAbandoned) {
                onAbandoned();
            }
            return;
        }
        QLineEdit::keyPressEvent(event);
    }

private:
    void undoAll() {
        while (isUndoAvailable()) {
            undo();
        }
    }
};

} // namespace

struct RowView::Geometry {
    int checkX = 0;
    int symbolX = 0;
    int labelX = 0;
    int labelRight = 0;
    int trailingRight = 0;
    int chevronCentreX = 0;
};

RowView::RowView(const PanelRow& row, int depth, bool expanded, QWidget* parent)
    : QWidget(parent), row_(row), symbol_(pickSymbol(row.symbol, row.symbolFallbacks)),
      depth_(depth), expandable_(!row.expansion.empty()), expanded_(expanded) {
    row_.expansion.clear();
    for (const PanelDetail& detail : row_.details) {
        detailSymbols_.push_back(pickSymbol(detail.symbol, {}));
    }
    setObjectName(QString::fromStdString(row_.id));
    setEnabled(row_.enabled);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    if (row_.toolTip) {
        setToolTip(QString::fromStdString(*row_.toolTip));
    }
    setAccessibleName(QString::fromStdString(row_.text));
    QStringList description;
    for (const PanelDetail& detail : row_.details) {
        description << QString::fromStdString(detail.text);
    }
    if (row_.trailing) {
        description << QString::fromStdString(*row_.trailing);
    }
    setAccessibleDescription(description.join(QStringLiteral(", ")));

    if (row_.editingName) {
        auto* field = new NameField(QString::fromStdString(row_.editingName->value), this);
        field->setPlaceholderText(QString::fromStdString(row_.editingName->placeholder));
        field->setAccessibleName(QString::fromStdString(row_.text));
        field->onAbandoned = [this] { report(onNameAbandoned); };
        connect(field, &QLineEdit::editingFinished, this, [this, field] {
            const std::string text = field->text().toStdString();
            if (!retired_ && text != row_.editingName->value && onNameCommitted) {
                // Commit once per change, however editing ended.
                row_.editingName->value = text;
                onNameCommitted(text);
            }
        });
        nameField_ = field;
    }
}

void RowView::report(const std::function<void()>& callback) const {
    if (!retired_ && callback) {
        callback();
    }
}

void RowView::setSelected(bool selected) {
    if (selected_ != selected) {
        selected_ = selected;
        update();
    }
}

int RowView::lineHeight() const {
    QFont font = this->font();
    font.setBold(row_.isHeader);
    const int text = QFontMetrics(font).height() + 8;
    return std::max({22, text, nameField_ ? nameField_->sizeHint().height() + 2 : 0});
}

int RowView::detailHeight() const {
    return QFontMetrics(smallFont(font())).height() + 1;
}

QSize RowView::sizeHint() const {
    const int details = static_cast<int>(row_.details.size());
    return {300, lineHeight() + details * detailHeight() + (details > 0 ? 3 : 0)};
}

QSize RowView::minimumSizeHint() const {
    return {120, sizeHint().height()};
}

RowView::Geometry RowView::measure() const {
    Geometry g;
    int x = metrics::content + depth_ * metrics::indent;
    if (row_.isChecked) {
        g.checkX = x;
        x += 16;
    }
    g.symbolX = x;
    if (symbol_) {
        x += metrics::symbol + metrics::symbolGap;
    }
    g.labelX = x;
    int right = width() - metrics::content;
    if (expandable_) {
        g.chevronCentreX = right - 4;
        right -= 14;
    }
    g.trailingRight = right;
    if (row_.trailing) {
        QFont font = this->font();
        const int trailingWidth =
            QFontMetrics(font).horizontalAdvance(QString::fromStdString(*row_.trailing));
        right -= trailingWidth + 10;
    }
    g.labelRight = std::max(g.labelX, right);
    return g;
}

void RowView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    const QPalette& pal = palette();
    const Geometry g = measure();
    const int line = lineHeight();
    const bool highlighted = selected_ && isEnabled() && !row_.isFootLink;

    QColor ink = pal.color(QPalette::WindowText);
    QColor secondary = secondaryInk(pal);
    if (highlighted) {
        p.setPen(Qt::NoPen);
        p.setBrush(pal.color(QPalette::Active, QPalette::Highlight));
        p.drawRoundedRect(QRectF(rect()).adjusted(metrics::inset, 1, -metrics::inset, -1), 5, 5);
        ink = pal.color(QPalette::Active, QPalette::HighlightedText);
        secondary = withAlpha(ink, 190);
    } else if (row_.isFootLink) {
        ink = pal.color(QPalette::Link);
    }
    if (!isEnabled()) {
        p.setOpacity(0.4);
    }

    if (row_.isChecked && *row_.isChecked) {
        p.save();
        p.translate(g.checkX, (line - 12) / 2.0);
        p.scale(12.0 / 16, 12.0 / 16);
        drawCheck(p, ink);
        p.restore();
    }
    if (symbol_) {
        const QRectF box(g.symbolX, (line - metrics::symbol) / 2.0, metrics::symbol,
                         metrics::symbol);
        drawSymbol(p, *symbol_, box, ink);
    }

    QFont labelFont = font();
    if (row_.isHeader) {
        labelFont.setBold(true);
    } else if (row_.isCurrent) {
        labelFont.setWeight(QFont::DemiBold);
    }
    labelFont.setUnderline(row_.isFootLink && selected_);
    const QFontMetrics labelMetrics(labelFont);
    if (!nameField_) {
        p.setFont(labelFont);
        p.setPen(ink);
        const QString label = labelMetrics.elidedText(QString::fromStdString(row_.text),
                                                      Qt::ElideRight, g.labelRight - g.labelX);
        p.drawText(QRect(g.labelX, 0, g.labelRight - g.labelX, line),
                   Qt::AlignLeft | Qt::AlignVCenter, label);
    }

    if (row_.trailing) {
        p.setFont(font());
        p.setPen(secondary);
        p.drawText(QRect(g.labelRight, 0, g.trailingRight - g.labelRight, line),
                   Qt::AlignRight | Qt::AlignVCenter, QString::fromStdString(*row_.trailing));
    }
    if (expandable_) {
        drawChevron(p, QPointF(g.chevronCentreX, line / 2.0), expanded_, secondary);
    }

    const QFont detailFont = smallFont(font());
    const QFontMetrics detailMetrics(detailFont);
    p.setFont(detailFont);
    int top = line - 3;
    for (std::size_t i = 0; i < row_.details.size(); ++i) {
        const PanelDetail& detail = row_.details[i];
        int x = g.labelX;
        if (detailSymbols_[i]) {
            constexpr int side = 10;
            const QRectF box(x, top + (detailHeight() - side) / 2.0, side, side);
            drawSymbol(p, *detailSymbols_[i], box, detail.tint.value_or(secondary));
            x += side + 4;
        }
        p.setPen(secondary);
        const int room = width() - metrics::content - x;
        p.drawText(
            QRect(x, top, room, detailHeight()), Qt::AlignLeft | Qt::AlignVCenter,
            detailMetrics.elidedText(QString::fromStdString(detail.text), Qt::ElideRight, room));
        top += detailHeight();
    }
}

void RowView::resizeEvent(QResizeEvent*) {
    if (nameField_) {
        const Geometry g = measure();
        const int height = nameField_->sizeHint().height();
        nameField_->setGeometry(g.labelX - 3, (lineHeight() - height) / 2, g.labelRight - g.labelX,
                                height);
    }
}

void RowView::mousePressEvent(QMouseEvent* event) {
    pressed_ = event->button() == Qt::LeftButton;
}

void RowView::mouseReleaseEvent(QMouseEvent* event) {
    const bool click = std::exchange(pressed_, false) && event->button() == Qt::LeftButton &&
                       rect().contains(event->position().toPoint());
    // The release that ends a double click is not a click of its own.
    if (click && !std::exchange(releaseEndsDoubleClick_, false)) {
        report(onClicked);
    }
}

void RowView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        releaseEndsDoubleClick_ = true;
        pressed_ = true;
        report(onDoubleClicked);
    }
}

void RowView::mouseMoveEvent(QMouseEvent*) {
    if (isEnabled() && !selected_) {
        report(onHovered);
    }
}

void RowView::leaveEvent(QEvent*) {
    report(onLeft);
}

} // namespace ruvola::panel
