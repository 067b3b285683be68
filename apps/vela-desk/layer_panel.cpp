#include "layer_panel.h"

#include <QHeaderView>

#include "db/database.h"
#include "db/records/layer_table_record.h"
#include "db/symbol_table.h"
#include "host/document.h"

namespace vela::desk {

namespace {
enum Column { Name, On, Frozen, Locked, Colour };
}

LayerPanel::LayerPanel(CommandRunner run, QWidget* parent) : QTreeWidget(parent), run_(std::move(run)) {
    setObjectName(QStringLiteral("layerPanel"));
    setColumnCount(5);
    setHeaderLabels({tr("Layer"), tr("On"), tr("Frozen"), tr("Locked"), tr("Color")});
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    header()->setSectionResizeMode(Name, QHeaderView::Stretch);
    for (int c = On; c <= Colour; ++c) header()->setSectionResizeMode(c, QHeaderView::ResizeToContents);
    header()->setStretchLastSection(false);
    connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item, int column) {
        if (filling_ || column < On || column > Locked) return;
        const bool ticked = item->checkState(column) == Qt::Checked;
        const QString name = item->text(Name);
        const char* option = column == On       ? (ticked ? "ON" : "OFF")
                             : column == Frozen ? (ticked ? "Freeze" : "Thaw")
                                                : (ticked ? "LOck" : "Unlock");
        run_(QStringLiteral("-LAYER"), {QLatin1String(option), name, QString()});
    });
    connect(this, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item, int column) {
        if (column == Name)
            run_(QStringLiteral("-LAYER"), {QStringLiteral("Set"), item->text(Name), QString()});
    });
}

void LayerPanel::showLayers(host::Document* document) {
    filling_ = true;
    clear();
    if (document) {
        db::Database* db = document->database();
        const db::ObjectId current = db->currentLayer();
        db->layerTable()->forEachRecord([&](db::SymbolTableRecord* record) {
            const auto* layer = db::objectCast<db::LayerTableRecord>(record);
            if (!layer) return;
            auto* item = new QTreeWidgetItem(this);
            item->setText(Name, QString::fromStdString(layer->name()));
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
            item->setCheckState(On, layer->isOff() ? Qt::Unchecked : Qt::Checked);
            item->setCheckState(Frozen, layer->isFrozen() ? Qt::Checked : Qt::Unchecked);
            item->setCheckState(Locked, layer->isLocked() ? Qt::Checked : Qt::Unchecked);
            const std::uint32_t rgb = layer->color().rgb();
            QPixmap swatch(14, 14);
            swatch.fill(QColor::fromRgb(rgb));
            item->setIcon(Colour, QIcon(swatch));
            item->setText(Colour, QString::number(layer->color().colorIndex()));
            if (layer->objectId() == current) {
                QFont bold = item->font(Name);
                bold.setBold(true);
                item->setFont(Name, bold);
            }
        });
    }
    filling_ = false;
}

}  // namespace vela::desk
