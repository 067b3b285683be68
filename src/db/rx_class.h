#pragma once

#include <memory>

namespace vela::db {

/// Run-time class description of a database object: its class name ("AcDbLine"), its DXF name ("LINE") and its
/// parent class, so that code can ask "is this a kind of entity?" without a cast chain.
class RxClass {
public:
    constexpr RxClass(const char* name, const char* dxfName, const RxClass* parent)
        : name_(name), dxfName_(dxfName), parent_(parent) {}
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

private:
    const char* name_;
    const char* dxfName_;
    const RxClass* parent_;
};

class DbObject;
class DxfInput;
class DxfOutput;

/// Declares the run-time class, the copy used for undo and cloning, and content assignment for a concrete class.
#define VELA_DB_DECLARE_CLASS(ClassName)                                               \
public:                                                                               \
    static const ::vela::db::RxClass* desc();                                         \
    const ::vela::db::RxClass* isA() const override { return desc(); }               \
    std::unique_ptr<::vela::db::DbObject> clone() const override {                    \
        return std::make_unique<ClassName>(*this);                                    \
    }                                                                                 \
    void dxfOutFields(::vela::db::DxfOutput& out) const override;                     \
    void dxfInFields(::vela::db::DxfInput& in) override;                              \
                                                                                      \
protected:                                                                            \
    void copyContentsFrom(const ::vela::db::DbObject& other) override {               \
        *this = static_cast<const ClassName&>(other);                                 \
    }                                                                                 \
                                                                                      \
private:                                                                              \
    template <class Io, class Self>                                                   \
    static void dxfFields(Io& io, Self& self);                                        \
                                                                                      \
public:

/// Declares the run-time class of an abstract class.
#define VELA_DB_DECLARE_ABSTRACT_CLASS(ClassName) \
public:                                           \
    static const ::vela::db::RxClass* desc();

#define VELA_DB_DEFINE_CLASS(ClassName, Name, DxfName, Parent)              \
    const ::vela::db::RxClass* ClassName::desc() {                         \
        static const ::vela::db::RxClass cls(Name, DxfName, Parent::desc()); \
        return &cls;                                                       \
    }

}  // namespace vela::db

/// Defines the DXF reading and writing of a class from its one declaration, ClassName::dxfFields.
#define VELA_DB_DEFINE_DXF(ClassName)                                                  \
    void ClassName::dxfOutFields(::vela::db::DxfOutput& out) const {                  \
        ::vela::db::DxfWriteIo io(out, extras());                                     \
        dxfFields(io, *this);                                                          \
        io.end();                                                                      \
    }                                                                                  \
    void ClassName::dxfInFields(::vela::db::DxfInput& in) {                           \
        ::vela::db::DxfReadIo io(in);                                                  \
        dxfFields(io, *this);                                                          \
        in.finish();                                                                   \
    }
