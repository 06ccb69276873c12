#include "Ruvola/tray/PanelContentView.hpp"

#include "Ruvola/tray/PanelRowView.hpp"
#include "Ruvola/tray/PanelSymbols.hpp"
#include "Ruvola/tray/PanelWidgets.hpp"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace ruvola {
namespace {

const PanelRow* findIn(const std::vector<PanelEntry>& entries, const std::string& id) {
    for (const PanelEntry& entry : entries) {
        if (const PanelRow* row = entry.as<PanelRow>()) {
            if (row->id == id) {
                return row;
            }
            if (const PanelRow* inside = findIn(row->expansion, id)) {
                return inside;
            }
        }
    }
    return nullptr;
}

QLabel* label(const std::string& text, QWidget* parent) {
    auto* label = new QLabel(QString::fromStdString(text), parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

PanelContentView::PanelContentView(Provider provider, ResizeCallback onResize, QWidget* parent)
    : QWidget(parent), provider_(std::move(provider)), onResize_(std::move(onResize)),
      layout_(new QVBoxLayout(this)) {
    layout_->setContentsMargins(0, 5, 0, 6);
    layout_->setSpacing(0);
    setFocusPolicy(Qt::StrongFocus);
}

PanelContentView::~PanelContentView() = default;

void PanelContentView::refresh() {
    entries_ = provider_ ? provider_() : std::vector<PanelEntry>();
    rebuild(false);
}

void PanelContentView::setKeyImages(const std::array<QImage, 6>& images) {
    keyImages_ = images;
    if (keyStrip_) {
        keyStrip_->setImages(images);
    } else {
        rebuild(false);
    }
}

void PanelContentView::clearKeyImages() {
    if (std::exchange(keyImages_, std::nullopt)) {
        rebuild(false);
    }
}

void PanelContentView::select(const std::optional<std::string>& id) {
    const panel::RowView* row = id ? visibleRow(*id) : nullptr;
    selected_ = row && row->isEnabled() ? id : std::nullopt;
    showSelection();
}

void PanelContentView::setExpanded(const std::string& id, bool expanded, bool animated) {
    if (isExpanded(id) != expanded) {
        if (expanded) {
            expanded_.insert(id);
        } else {
            expanded_.erase(id);
        }
        rebuild(animated);
    }
}

QSize PanelContentView::sizeHint() const {
    const int height = layout_->hasHeightForWidth() ? layout_->totalHeightForWidth(preferredWidth)
                                                    : layout_->totalSizeHint().height();
    return {preferredWidth, height};
}

void PanelContentView::rebuild(bool animated) {
    // An edit in progress carries over to the row's new field.
    struct Edit {
        std::string id;
        QString text;
        int cursor = 0;
    };
    std::optional<Edit> edit;
    for (panel::RowView* row : rows_) {
        if (row->nameField() && row->nameField()->hasFocus()) {
            edit = Edit{row->id(), row->nameField()->text(), row->nameField()->cursorPosition()};
        }
    }
    const bool hadFocus = hasFocus() || isAncestorOf(QApplication::focusWidget());

    for (panel::RowView* row : rows_) {
        row->retire();
    }
    while (QLayoutItem* item = layout_->takeAt(0)) {
        if (QWidget* widget = item->widget()) {
            // Later: this may be the very widget whose click brought us here.
            widget->hide();
            widget->setObjectName({});
            widget->deleteLater();
        }
        delete item;
    }
    rows_.clear();
    parentOf_.clear();
    keyStrip_ = nullptr;

    addEntries(entries_, 0, {});
    if (keyImages_ && !keyStrip_) {
        const bool titled = !entries_.empty() && entries_.front().as<PanelEntry::Title>();
        place(keyStrip_ = new panel::KeyStripView(this), titled ? 1 : 0);
        keyStrip_->setImages(*keyImages_);
    }
    layout_->addStretch(1);

    // Forget rows that are gone, so the set cannot grow without end.
    std::erase_if(expanded_, [this](const std::string& id) { return !findRow(id); });
    select(selected_);

    if (edit) {
        if (panel::RowView* row = visibleRow(edit->id); row && row->nameField()) {
            row->nameField()->setText(edit->text);
            row->nameField()->setCursorPosition(edit->cursor);
            row->nameField()->setFocus();
        }
    } else if (hadFocus) {
        setFocus();
    }

    const QSize hint = sizeHint();
    if (hint != lastHint_) {
        lastHint_ = hint;
        updateGeometry();
        if (onResize_) {
            onResize_(animated);
        }
    }
}

void PanelContentView::addEntries(const std::vector<PanelEntry>& entries, int depth,
                                  const std::string& parentId) {
    // Text and buttons inside an expansion line up with its rows.
    const int indent = panel::metrics::content + depth * panel::metrics::indent;
    for (const PanelEntry& entry : entries) {
        if (const auto* title = entry.as<PanelEntry::Title>()) {
            QLabel* view = label(title->text, this);
            QFont font = panel::scaledFont(view->font(), 1.1);
            font.setBold(true);
            view->setFont(font);
            view->setContentsMargins(panel::metrics::content, 4, panel::metrics::content, 4);
            place(view);
        } else if (const auto* row = entry.as<PanelRow>()) {
            addRow(*row, depth, parentId);
            // The pad's pictures go under the first row, which is the pad's own.
            if (depth == 0 && keyImages_ && !keyStrip_) {
                addKeyStrip();
            }
        } else if (const auto* toggle = entry.as<PanelEntry::Toggle>()) {
            auto* view = new panel::ToggleView(*toggle, this);
            connect(view, &QAbstractButton::clicked, this,
                    [this, action = toggle->action] { post(action); });
            place(view);
        } else if (const auto* buttons = entry.as<PanelEntry::Buttons>()) {
            auto* line = new QWidget(this);
            auto* lineLayout = new QHBoxLayout(line);
            lineLayout->setContentsMargins(indent - 2, 4, panel::metrics::content - 2, 4);
            lineLayout->setSpacing(6);
            for (const PanelButton& button : buttons->buttons) {
                auto* view = new QPushButton(QString::fromStdString(button.title), line);
                view->setEnabled(button.enabled);
                view->setAutoDefault(false);
                if (button.toolTip) {
                    view->setToolTip(QString::fromStdString(*button.toolTip));
                }
                connect(view, &QPushButton::clicked, this,
                        [this, action = button.action] { post(action); });
                lineLayout->addWidget(view, 1);
            }
            place(line);
        } else if (const auto* text = entry.as<PanelEntry::Text>()) {
            QLabel* view = label(text->text, this);
            view->setContentsMargins(indent, 2, panel::metrics::content, 2);
            if (text->secondary) {
                view->setFont(panel::scaledFont(view->font(), 0.85));
                QPalette palette = view->palette();
                QColor ink = palette.color(QPalette::WindowText);
                ink.setAlpha(140);
                palette.setColor(QPalette::WindowText, ink);
                view->setPalette(palette);
            }
            place(view);
        } else if (entry.as<PanelEntry::Separator>()) {
            place(new panel::RuleView(0, this));
        } else if (entry.as<PanelEntry::FooterSeparator>()) {
            place(new panel::RuleView(6, this));
        } else if (entry.as<PanelEntry::Spacer>()) {
            auto* space = new QWidget(this);
            space->setFixedHeight(8);
            place(space);
        }
    }
}

void PanelContentView::addRow(const PanelRow& row, int depth, const std::string& parentId) {
    const bool expanded = !row.expansion.empty() && isExpanded(row.id);
    auto* view = new panel::RowView(row, depth, expanded, this);
    const std::string id = row.id;
    view->onClicked = [this, id] { rowClicked(id); };
    view->onDoubleClicked = [this, id] { rowDoubleClicked(id); };
    view->onHovered = [this, id] { select(id); };
    view->onLeft = [this, id] {
        if (selected_ == id) {
            select(std::nullopt);
        }
    };
    view->onNameCommitted = [this, id](const std::string& text) {
        const PanelRow* current = findRow(id);
        if (current && current->editingName && current->editingName->onCommit) {
            post([commit = current->editingName->onCommit, text] { commit(text); });
        }
    };
    view->onNameAbandoned = [this] { setFocus(); };
    place(view);
    rows_.push_back(view);
    if (!parentId.empty()) {
        parentOf_[id] = parentId;
    }
    if (expanded) {
        addEntries(row.expansion, depth + 1, id);
    }
}

void PanelContentView::place(QWidget* widget, int index) {
    layout_->insertWidget(index, widget);
    // Now rather than from the event loop, so that the size the layout reports counts it.
    widget->show();
}

void PanelContentView::addKeyStrip() {
    keyStrip_ = new panel::KeyStripView(this);
    keyStrip_->setImages(*keyImages_);
    place(keyStrip_);
}

void PanelContentView::rowClicked(std::string id) {
    setFocus();
    select(id);
    activate(id);
}

void PanelContentView::rowDoubleClicked(std::string id) {
    const PanelRow* row = findRow(id);
    if (row && row->enabled && row->doubleClickAction) {
        post(row->doubleClickAction);
    }
}

void PanelContentView::activate(const std::string& id) {
    const PanelRow* row = findRow(id);
    if (!row || !row->enabled) {
        return;
    }
    if (row->action) {
        post(row->action);
    }
    if (!row->expansion.empty()) {
        setExpanded(id, !isExpanded(id), true);
    }
}

void PanelContentView::keyPressEvent(QKeyEvent* event) {
    const panel::RowView* row = selected_ ? visibleRow(*selected_) : nullptr;
    switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
        moveSelection(event->key() == Qt::Key_Down ? 1 : -1);
        break;
    case Qt::Key_Right:
        if (row && row->isExpandable()) {
            setExpanded(row->id(), true, true);
        }
        break;
    case Qt::Key_Left:
        if (row && row->isExpandable() && isExpanded(row->id())) {
            setExpanded(row->id(), false, true);
        } else if (row && parentOf_.contains(row->id())) {
            select(parentOf_.at(row->id()));
        }
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (row) {
            activate(row->id());
        }
        break;
    case Qt::Key_Escape:
        if (!onHideRequested) {
            // Left to the window, which closes on Escape when it is a popup.
            event->ignore();
            return;
        }
        onHideRequested();
        break;
    default:
        QWidget::keyPressEvent(event);
        return;
    }
    event->accept();
}

void PanelContentView::moveSelection(int step) {
    std::vector<panel::RowView*> usable;
    std::copy_if(rows_.begin(), rows_.end(), std::back_inserter(usable),
                 [](const panel::RowView* row) { return row->isEnabled(); });
    if (usable.empty()) {
        return;
    }
    const auto current = std::find_if(usable.begin(), usable.end(),
                                      [this](const auto* row) { return row->id() == selected_; });
    std::ptrdiff_t index = 0;
    if (current == usable.end()) {
        index = step > 0 ? 0 : std::ssize(usable) - 1;
    } else {
        index =
            std::clamp<std::ptrdiff_t>(current - usable.begin() + step, 0, std::ssize(usable) - 1);
    }
    panel::RowView* next = usable[static_cast<std::size_t>(index)];
    select(next->id());
    for (QWidget* ancestor = parentWidget(); ancestor; ancestor = ancestor->parentWidget()) {
        if (auto* area = qobject_cast<QScrollArea*>(ancestor)) {
            area->ensureWidgetVisible(next, 0, 0);
            break;
        }
    }
}

void PanelContentView::showSelection() {
    for (panel::RowView* row : rows_) {
        row->setSelected(row->id() == selected_);
    }
}

void PanelContentView::post(std::function<void()> work) {
    if (work) {
        QTimer::singleShot(0, this, std::move(work));
    }
}

panel::RowView* PanelContentView::visibleRow(const std::string& id) const {
    const auto found = std::find_if(rows_.begin(), rows_.end(),
                                    [&id](const panel::RowView* row) { return row->id() == id; });
    return found == rows_.end() ? nullptr : *found;
}

const PanelRow* PanelContentView::findRow(const std::string& id) const {
    return findIn(entries_, id);
}

} // namespace ruvola
