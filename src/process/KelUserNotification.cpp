#include <kel/KelUserNotification.h>

#include <new>

// Created when the library is loaded and never destroyed while it stays
// loaded: notifications may be sent until the very end.
KelUserNotification* KelUserNotification::m_pInstance = new (std::nothrow) KelUserNotification;

KelNotificationObserver::~KelNotificationObserver() = default;

namespace {

using Tree = KelUserNotification::ObserverTree;

// Calls `call` for every observer in ascending address order. The walk is
// the tree's in-order one, but it never holds on to a node across a call:
// an observer may deregister itself or another one (freeing their nodes and
// rotating the tree) from inside its callback. After each call the walk
// finds its place again by the address it just called: if that observer is
// still registered the next node is its in-order successor, otherwise the
// first one with a greater address.
template <typename Call>
void forEachObserver(const Tree& observers, Call call) {
    Tree::Node* node = observers.first();
    while (node != nullptr) {
        KelNotificationObserver* const observer = node->value;
        call(observer);
        Tree::Node* const same = observers.find(observer);
        node = same != nullptr ? Tree::next(same) : observers.upperBound(observer);
    }
}

}  // namespace

KelUserNotification* KelUserNotification::getInstance() {
    return m_pInstance;
}

KelUserNotification::KelUserNotification() = default;

KelUserNotification::~KelUserNotification() = default;

void KelUserNotification::registerObserver(KelNotificationObserver* observer) {
    if (observer != nullptr)
        m_observers.insert(observer);
}

void KelUserNotification::deregisterObserver(KelNotificationObserver* observer) {
    m_observers.remove(observer);
}

void KelUserNotification::addNotification(eNotificationType type, const KelString& first,
                                          const KelString& second) {
    forEachObserver(m_observers, [&](KelNotificationObserver* observer) {
        observer->onNotification(type, first, second);
    });
}

void KelUserNotification::addErrorItem(eNotificationType type, KelErrorItem* item) {
    forEachObserver(m_observers,
                    [&](KelNotificationObserver* observer) { observer->onErrorItem(type, item); });
}
