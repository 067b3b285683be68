#pragma once

#include <memory>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vela::db {

class DbObject;
class DxfInput;

/// Run-time class description of a database object: its class name ("AcDbLine"), its DXF name ("LINE"), its
/// parent class, so that code can ask "is this a kind of entity?" without a cast chain, and how to make an
/// empty object of it, so that a reader can make the object a record names.
class RxClass {
  public:
    using Factory = std::unique_ptr<DbObject> (*)();
    /// Picks the class of one record among the classes that share a DXF name, from its groups (a dimension's
    /// subtype); null when the groups name none of them.
    using Refiner = const RxClass* (*)(const DxfInput& groups);

    constexpr RxClass(const char* name, const char* dxfName, const RxClass* parent, Factory factory = nullptr,
                      Refiner refiner = nullptr)
        : name_(name), dxfName_(dxfName), parent_(parent), factory_(factory), refiner_(refiner) {}
    RxClass(const RxClass&) = delete;
    RxClass& operator=(const RxClass&) = delete;

    const char* name() const { return name_; }
    /// Empty for abstract classes that have no record of their own in a DXF file.
    const char* dxfName() const { return dxfName_; }
    const RxClass* parent() const { return parent_; }

    bool isDerivedFrom(const RxClass* other) const {
        for (const RxClass* c = this; c; c = c->parent_)
            if (c == other) return true;
        return false;
    }

    /// True for classes whose objects can be made empty and filled from a file: concrete classes with a DXF
    /// name. Abstract classes cannot, nor can the stand-ins for types we do not model, which need the name of
    /// the type they stand for.
    bool canCreate() const { return factory_ != nullptr; }
    /// A new empty object of this class, or null when the class cannot be made (see canCreate).
    std::unique_ptr<DbObject> create() const;

    /// The class a record of this class's DXF name is an object of, given the record's groups before they are
    /// read: this class itself unless it refines its records (a DXF name several classes share, the type of
    /// each record told by a group), and then the class the groups choose, or null when they choose none.
    const RxClass* refine(const DxfInput& groups) const { return refiner_ ? refiner_(groups) : this; }

  private:
    const char* name_;
    const char* dxfName_;
    const RxClass* parent_;
    Factory factory_;
    Refiner refiner_;
};

/// Every run-time class loaded in the process. Each class registers itself where it is defined (see
/// VELA_DB_DEFINE_CLASS) while its library loads, and leaves when the library unloads, so a module that
/// brings its own classes adds them to every reader and lister above without a list anywhere to extend.
///
/// Lookups are meant for after loading: during the loading of a library, classes of it defined in files not
/// yet initialised are not there yet. The registry itself is safe to use at any time and from any thread.
class RxRegistry {
  public:
    /// The class a DXF record type names ("LINE"), or null. A name that a class and classes derived from it
    /// share belongs to that base (every symbol table is written as "TABLE": the name finds the abstract
    /// table class); of two unrelated classes claiming one name, the one registered first keeps it.
    static const RxClass* findByDxfName(std::string_view dxfName);
    /// The class of a class name ("AcDbLine"), or null; shared names go as for DXF names (the stand-in for
    /// unknown entities carries its base's name "AcDbEntity", which finds the base).
    static const RxClass* findByName(std::string_view name);
    /// The classes that can be made (RxClass::canCreate) and derive from `base` (all of them when `base` is
    /// null), in the order of their class names, which does not depend on the order in which files and
    /// libraries load.
    static std::vector<const RxClass*> classes(const RxClass* base = nullptr);

    /// Adds a class (again adding one is harmless). Done by RxRegistration.
    static void add(const RxClass* cls);
    /// Removes a class, giving its names back to the classes that share them. Done by RxRegistration.
    static void remove(const RxClass* cls);
};

/// Keeps a class registered for as long as the library that defines it is loaded.
class RxRegistration {
  public:
    explicit RxRegistration(const RxClass* cls) : cls_(cls) { RxRegistry::add(cls); }
    ~RxRegistration() { RxRegistry::remove(cls_); }
    RxRegistration(const RxRegistration&) = delete;
    RxRegistration& operator=(const RxRegistration&) = delete;

  private:
    const RxClass* cls_;
};

namespace detail {
template <class T>
std::unique_ptr<DbObject> makeEmpty() {
    return std::make_unique<T>();
}

/// The factory of class T: none for classes that cannot stand alone or that no file names.
template <class T>
constexpr RxClass::Factory factoryOf(const char* dxfName) {
    if constexpr (std::is_abstract_v<T> || !std::is_default_constructible_v<T>)
        return nullptr;
    else
        return dxfName[0] != '\0' ? &makeEmpty<T> : nullptr;
}
}  // namespace detail

class DxfOutput;

/// Declares the run-time class, the copy used for undo and cloning, and content assignment for a concrete
/// class.
#define VELA_DB_DECLARE_CLASS(ClassName)                                \
  public:                                                               \
    static const ::vela::db::RxClass* desc();                           \
    const ::vela::db::RxClass* isA() const override {                   \
        return desc();                                                  \
    }                                                                   \
    std::unique_ptr<::vela::db::DbObject> clone() const override {      \
        return std::make_unique<ClassName>(*this);                      \
    }                                                                   \
    void dxfOutFields(::vela::db::DxfOutput& out) const override;       \
    void dxfInFields(::vela::db::DxfInput& in) override;                \
                                                                        \
  protected:                                                            \
    void copyContentsFrom(const ::vela::db::DbObject& other) override { \
        *this = static_cast<const ClassName&>(other);                   \
    }                                                                   \
                                                                        \
  private:                                                              \
    template <class Io, class Self>                                     \
    static void dxfFields(Io& io, Self& self);                          \
                                                                        \
  public:

/// Declares the run-time class of an abstract class.
#define VELA_DB_DECLARE_ABSTRACT_CLASS(ClassName) \
  public:                                         \
    static const ::vela::db::RxClass* desc();

/// Defines the run-time class and registers it for as long as the defining library is loaded.
#define VELA_DB_DEFINE_CLASS(ClassName, Name, DxfName, Parent)                                   \
    const ::vela::db::RxClass* ClassName::desc() {                                               \
        static const ::vela::db::RxClass cls(Name, DxfName, Parent::desc(),                      \
                                             ::vela::db::detail::factoryOf<ClassName>(DxfName)); \
        return &cls;                                                                             \
    }                                                                                            \
    static const ::vela::db::RxRegistration velaRxRegistration##ClassName(ClassName::desc());

/// Defines the run-time class of a class whose DXF name its derived classes share, with the function that
/// picks the class of each record from its groups (see RxClass::refine).
#define VELA_DB_DEFINE_REFINED_CLASS(ClassName, Name, DxfName, Parent, Refiner)                   \
    const ::vela::db::RxClass* ClassName::desc() {                                               \
        static const ::vela::db::RxClass cls(Name, DxfName, Parent::desc(),                      \
                                             ::vela::db::detail::factoryOf<ClassName>(DxfName), \
                                             Refiner);                                           \
        return &cls;                                                                             \
    }                                                                                            \
    static const ::vela::db::RxRegistration velaRxRegistration##ClassName(ClassName::desc());

}  // namespace vela::db

/// Defines the DXF reading and writing of a class from its one declaration, ClassName::dxfFields.
#define VELA_DB_DEFINE_DXF(ClassName)                                \
    void ClassName::dxfOutFields(::vela::db::DxfOutput& out) const { \
        ::vela::db::DxfWriteIo io(out, extras());                    \
        dxfFields(io, *this);                                        \
        io.end();                                                    \
    }                                                                \
    void ClassName::dxfInFields(::vela::db::DxfInput& in) {          \
        ::vela::db::DxfReadIo io(in);                                \
        dxfFields(io, *this);                                        \
        in.finish();                                                 \
    }
