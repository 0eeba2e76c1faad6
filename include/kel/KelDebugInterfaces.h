/// @file KelDebugInterfaces.h
/// Tracking of constructed objects, to find the ones never destroyed.
///
/// Constructors and destructors of component classes report themselves; a
/// caller may bracket a piece of work with a context, and showResults lists
/// the objects of that context that were constructed and never destroyed:
///
/// @code
///   KelDebugInterfaces::setCurrentContextInitiator(this);
///   KelDebugInterfaces::objectConstructed(KelString(L"Beam"), beam);
///   ...
///   KelDebugInterfaces::showResults(this);     // "\n Coclasses not destructed:" ...
///   KelDebugInterfaces::contextInitiatorEnd(this);
/// @endcode
///
/// Tracking is off by default, and then every operation returns at once. The
/// environment variable KEL_OBJECT_TRACKING=1, set when the library is
/// loaded, turns it on for the process; showResults then writes its text to
/// the debug output (kelOutputDebugString, see KelPlatform.h). One thread
/// only: nothing is locked.

#ifndef KEL_KELDEBUGINTERFACES_H
#define KEL_KELDEBUGINTERFACES_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

/// @copydoc KelDebugInterfaces.h
class KEL_API KelDebugInterfaces {
public:
    /// One reported object.
    struct DebugInfo {
        void* m_pContextInitiator = nullptr;  ///< innermost open context when reported, or null
        KelString m_ClassName;                ///< as reported
        void* m_pObject = nullptr;            ///< the object's address
        int m_bDestroyed = 0;                 ///< 1 once objectDestroied matched it
    };

    /// Opens a context: pushes `ctx` on the context stack.
    static void setCurrentContextInitiator(void* ctx);

    /// Closes a context: pops the stack, but only when `ctx` is its top;
    /// otherwise nothing changes.
    static void contextInitiatorEnd(void* ctx);

    /// Records an object with the innermost open context (or null), `name`
    /// and `obj`, not destroyed.
    static void objectConstructed(const KelString& name, void* obj);

    /// Marks destroyed the first record of `obj` that is not yet destroyed
    /// and whose class name equals `name` exactly (case counts); nothing when
    /// there is none.
    static void objectDestroied(const KelString& name, void* obj);

    /// With a context: removes every record of that context. With null:
    /// removes all records.
    static void clearAllDebugInfo(void* ctx);

    /// Lists the records not destroyed (of `ctx`, or all with null): before
    /// the first one "\n Coclasses not destructed:", then for each
    /// "\n %d [%d] %08x %s": its position in the whole table, the count of
    /// such records listed before it (both from 0), the low 32 bits of its
    /// address and its class name. Each piece goes to KelOutputDebugString
    /// and to the debug output.
    static void showResults(void* ctx);

    /// The number of records (0 while tracking is off).
    static int entriesNumber();

    /// The context stack, innermost last.
    static KelArray<void*> m_ContextInitiators;
    /// The records, in order of construction.
    static KelArray<DebugInfo> m_Info;

private:
    /// The index of the record objectDestroied marks, or -1.
    static int getIndexAt(KelString& name, void* obj);

    /// On when KEL_OBJECT_TRACKING was "1" as the library loaded.
    static int m_bTrackingOn;
};

#endif  // KEL_KELDEBUGINTERFACES_H
