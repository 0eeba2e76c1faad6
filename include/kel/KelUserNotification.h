/// @file KelUserNotification.h
/// The process-wide broadcaster of notifications and error records to the
/// observers the application registers.
///
/// Library and application code hand it a notification (a type and two
/// texts) or an error record; it passes each one at once, on the calling
/// thread, to every registered observer, in ascending order of the
/// observers' addresses (not in the order they registered).
///
/// @code
///   class StatusBar : public KelNotificationObserver {
///       void onErrorItem(KelUserNotification::eNotificationType, KelErrorItem*) override {}
///       void onNotification(KelUserNotification::eNotificationType type, const KelString& first,
///                           const KelString& second) override { show(first, second); }
///   };
///   StatusBar bar;
///   KelUserNotification::getInstance()->registerObserver(&bar);
///   KelUserNotification::getInstance()->addNotification(
///       KelUserNotification::eNotificationType0, L"Export", L"12 drawings written");
///   KelUserNotification::getInstance()->deregisterObserver(&bar);
/// @endcode
///
/// The notification types and the operations of an error record are the
/// application's own: the library passes both through untouched. Nothing
/// here locks.

#ifndef KEL_KELUSERNOTIFICATION_H
#define KEL_KELUSERNOTIFICATION_H

#include <kel/KelExport.h>
#include <kel/KelRBTree.h>
#include <kel/KelString.h>

class KelNotificationObserver;

/// An error record of the application's, handed to the observers unchanged.
/// The library never calls its operations, owns it or keeps it; what the
/// five operations mean is defined by the application that implements them.
class KelErrorItem {
public:
    /// The application's five operations, in this slot order.
    ///@{
    virtual void errorItemOperation0() = 0;
    virtual void errorItemOperation1() = 0;
    virtual void errorItemOperation2() = 0;
    virtual void errorItemOperation3() = 0;
    virtual void errorItemOperation4() = 0;
    ///@}
};

/// The broadcaster: one instance, created when the library is loaded.
///
/// @copydetails KelUserNotification.h
class KEL_API KelUserNotification {
public:
    /// The kind of a notification or error record. The values belong to the
    /// application; the library passes them to the observers as given, so any
    /// value of the underlying int may be used, named here or not.
    enum eNotificationType : int {
        eNotificationType0 = 0,
        eNotificationType1 = 1,
        eNotificationType2 = 2,
        eNotificationType3 = 3,
        eNotificationType4 = 4,
        eNotificationType5 = 5,
        eNotificationType6 = 6,
        eNotificationType7 = 7,
    };

    /// The set of observers, keyed by their addresses.
    typedef KelRBTree<KelNotificationObserver*, KelNotificationObserver*,
                      KelIdentity<KelNotificationObserver*>>
        ObserverTree;

    /// The instance the library creates when it is loaded and never destroys
    /// while it stays loaded (null only if that creation failed).
    static KelUserNotification* getInstance();

    /// An empty broadcaster, independent of the library's instance. A copy
    /// has its own copy of the observer set.
    KelUserNotification();
    /// Drops the observer set without telling the observers, which are not
    /// owned.
    virtual ~KelUserNotification();

    /// Adds `observer` to the set; a null observer and one already present
    /// are ignored (each observer is called once per notification). The
    /// observer is not owned and must be deregistered before it is destroyed.
    void registerObserver(KelNotificationObserver* observer);

    /// Removes `observer` (found by address) from the set; nothing when it is
    /// absent. May be called from inside a callback, for the observer being
    /// called or any other: the broadcast under way carries on with the
    /// observers that are still registered.
    void deregisterObserver(KelNotificationObserver* observer);

    /// Calls onNotification(type, first, second) of every observer in
    /// ascending address order. With no observer it does nothing. An
    /// observer registered during the broadcast is called in it when its
    /// address comes after the one being called.
    void addNotification(eNotificationType type, const KelString& first, const KelString& second);

    /// Calls onErrorItem(type, item) of every observer in the same order.
    /// `item` (null included) is passed as given; it is neither owned nor
    /// kept.
    void addErrorItem(eNotificationType type, KelErrorItem* item);

    /// The instance that getInstance returns.
    static KelUserNotification* m_pInstance;

private:
    ObserverTree m_observers;
};

/// An observer of KelUserNotification, implemented by the application.
///
/// @see KelUserNotification, whose example implements one.
class KEL_API KelNotificationObserver {
public:
    /// Does not deregister the observer: deregister it before it is
    /// destroyed.
    virtual ~KelNotificationObserver();
    /// An error record was handed to the broadcaster.
    virtual void onErrorItem(KelUserNotification::eNotificationType type, KelErrorItem* item) = 0;
    /// A notification with its two texts was handed to the broadcaster.
    virtual void onNotification(KelUserNotification::eNotificationType type, const KelString& first,
                                const KelString& second) = 0;
};

#endif  // KEL_KELUSERNOTIFICATION_H
