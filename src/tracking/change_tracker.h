#pragma once

#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "db/color.h"
#include "db/database_reactor.h"
#include "db/handle.h"
#include "db/lineweight.h"
#include "host/document_manager.h"
#include "tracking/handle_table.h"

class QTimer;

namespace vela::tracking {

/// What kind of object a change is about; the report prints the names.
enum class ChangeCategory : std::int32_t {
    Entity = 0,
    Layer = 1,
    Linetype = 2,
    TextStyle = 3,
    DimStyle = 4,
    Other = 5
};

struct ChangedObjectRecord {
    db::Handle handle;
    const char* className = "";  // the run-time class name ("AcDbLine"), which lives as long as the class
    ChangeCategory category = ChangeCategory::Other;
    QString name;  // the record's name; empty for entities
};

struct PropertyChange {
    QString property;
    QString oldValue;
    QString newValue;
};

struct ModifiedObjectRecord : ChangedObjectRecord {
    std::vector<PropertyChange> changes;  // appended to, never replaced
};

/// What changed in one drawing since it was last reported, by handle in ascending order.
struct DatabaseChanges {
    std::map<db::Handle, ChangedObjectRecord> created;
    std::map<db::Handle, ModifiedObjectRecord> modified;
    std::map<db::Handle, ChangedObjectRecord> erased;
};

ChangeCategory ClassifyObject(const db::DbObject* object);
/// The name of a symbol table record (layer, linetype, text style, dimension style, block); empty otherwise.
QString ObjectDisplayName(const db::DbObject* object);

/// Watches every open drawing and keeps, per drawing, the objects created, modified (with the old and new
/// values of the properties a user sees) and erased since the last report. Objects inside block definitions,
/// block records and objects that are no entity or symbol table record are never recorded. The "before"
/// values of an object are those it had when it was first opened for modify since the last reset; a report
/// does not drop them, so a later change is again compared with them. Everything is dropped when no report
/// was taken for 30 minutes. Runs on the host's main thread only.
class CJxV3ChangeTracker : public db::DatabaseReactor, public host::DocumentManagerReactor {
  private:
    // Small, so that the snapshots of a large selection stay close together: the names are kept once each.
    struct EntitySnapshot {
        const std::string* layer = nullptr;
        const std::string* linetype = nullptr;
        double opacity = 1.0;
        db::Color color;
        db::LineWeight lineweight = db::LineWeight::ByLayer;
    };
    struct LayerSnapshot {
        std::string name;
        db::Color color;
        std::string linetype;
        db::LineWeight lineweight = db::LineWeight::ByLayer;
        bool isOff = false, isFrozen = false, isLocked = false;
    };

  public:
    using Clock = std::function<std::int64_t()>;  // a steady clock in nanoseconds

    CJxV3ChangeTracker();
    ~CJxV3ChangeTracker() override;

    /// Attaches to every open drawing and to the drawings that open later; starts the idle reset timer.
    void Start();
    /// Detaches from every drawing and forgets everything.
    void Stop();
    bool isStarted() const { return started_; }

    /// Takes out the changes of a drawing (after the idle reset, when due): created-and-erased objects appear
    /// in no list. The drawing's pending changes are gone afterwards; the snapshots stay.
    DatabaseChanges TakeChanges(const db::Database* database);
    void Reset();

    /// Everything the tracker keeps, for work that will be rolled back (a trial run of a command): taken out,
    /// the tracker starts empty, so that what it records then is that work alone; given back, the tracker is
    /// as it was before, whatever it recorded meanwhile.
    class State {
        friend class CJxV3ChangeTracker;
        std::map<const db::Database*, DatabaseChanges> changesByDatabase;
        std::unordered_set<std::string> names;
        HandleTable<EntitySnapshot> entitySnapshots;
        HandleTable<LayerSnapshot> layerSnapshots;
        std::int64_t lastReportTime = 0;
    };
    State TakeState();
    void RestoreState(State state);

    /// Replaces the clock, so that tests can let 30 minutes pass at once; null restores the steady clock.
    void setClock(Clock clock);
    /// What the timer does when it fires: the idle reset, when due.
    void resetWhenIdle();

    // Database notifications.
    void objectAppended(const db::Database* database, const db::DbObject* object) override;
    void objectOpenedForModify(const db::Database* database, const db::DbObject* object) override;
    void objectModified(const db::Database* database, const db::DbObject* object) override;
    void objectErased(const db::Database* database, const db::DbObject* object, bool erased) override;

    // Document notifications: a drawing becomes available (after loading, so opening records nothing) and
    // goes.
    void documentCreated(host::Document* document) override;
    void documentToBeDestroyed(host::Document* document) override;

    static constexpr std::int64_t kIdleResetMinutes = 30;
    static constexpr int kCleanupIntervalMs = 1'800'000;

  private:
    ChangeCategory classify(const db::DbObject* object);
    const std::string* intern(const std::string& name) { return &*names_.insert(name).first; }
    ChangedObjectRecord recordOf(const db::DbObject* object, ChangeCategory category) const;
    bool idleTooLong() const;
    std::int64_t now() const;

    std::map<const db::Database*, DatabaseChanges> changesByDatabase_;
    std::unordered_set<std::string> names_;  // the layer and linetype names the entity snapshots point to
    HandleTable<EntitySnapshot> entitySnapshots_;
    HandleTable<LayerSnapshot> layerSnapshots_;
    std::int64_t lastReportTime_ = 0;
    std::unique_ptr<QTimer> cleanupTimer_;
    Clock clock_;
    bool started_ = false;
    const db::DbObject* lastOwner_ = nullptr;  // the owner of the last entity classified, and its verdict
    ChangeCategory lastOwnerCategory_ = ChangeCategory::Other;
};

/// The one tracker of the process.
CJxV3ChangeTracker* GetV3ChangeTracker();

}  // namespace vela::tracking
