#pragma once

#include "grundel/core/Tapi.h"

/// Type codes of the plug-in interface's wrappers of internal objects.
enum TapiType : int {
    kApiInvalid = 0, ///< not wrapped for plug-ins
    kApiNamedObject, ///< a named object
    kApiNamespace,   ///< a namespace
    kApiData         ///< a typed-data letter
};

/// The base through which the application's plug-in interface wraps internal
/// objects: a type code, optional reference counting, and two pointers the
/// interface may attach (its user object and its node information). The
/// library neither owns nor reads those pointers.
class GRUNDEL_API TapiPtrBase {
public:
    virtual TapiType apiType() const noexcept { return kApiInvalid; }
    /// Reference counting for plug-in handles; the default holds no count.
    virtual void apiReference() noexcept {}
    virtual void apiUnreference() noexcept {}
    virtual bool apiHasReferenceCounting() const noexcept { return false; }
    /// Name of the type code, for messages; never null.
    virtual const char* apiTypeString() const noexcept;
    virtual void* apiUserObject() const noexcept { return fApiUserObject; }
    virtual void setApiUserObject(void* object) noexcept { fApiUserObject = object; }
    virtual void* pluginNodeInfo() const noexcept { return fPluginNodeInfo; }
    virtual void setPluginNodeInfo(void* info) noexcept { fPluginNodeInfo = info; }
    /// Forgets both attached pointers.
    virtual void clearInstance() noexcept {
        fApiUserObject = nullptr;
        fPluginNodeInfo = nullptr;
    }
    virtual ~TapiPtrBase();

protected:
    TapiPtrBase() noexcept = default;
    TapiPtrBase(const TapiPtrBase&) noexcept {}
    TapiPtrBase& operator=(const TapiPtrBase&) noexcept { return *this; }

private:
    void* fApiUserObject = nullptr;
    void* fPluginNodeInfo = nullptr;
};
