#include "orbuutil/orbuutilObjectManager.h"

#include <utility>

constinit int orbu_exit_hook_marker = 0;

constinit COrbuUtilObjectManager* COrbuUtilObjectManager::instance_ = nullptr;

COrbuUtilCleanup::~COrbuUtilCleanup() = default;

void COrbuUtilCleanup::cleanup(void*) { delete this; }

void ORBU_CLEANUP_DESTROYER_NAME(COrbuUtilCleanup* object, void* param) { object->cleanup(param); }

// The destroyer as an entry holds it: an address to compare with.
static COrbuUtilCleanupHook destroyer() {
    return reinterpret_cast<COrbuUtilCleanupHook>(ORBU_CLEANUP_DESTROYER_NAME);
}

bool COrbuUtilCleanupInfo::operator==(COrbuUtilCleanupInfo const& other) const {
    return object == other.object && cleanup_hook == other.cleanup_hook && param == other.param;
}

bool COrbuUtilCleanupInfo::operator!=(COrbuUtilCleanupInfo const& other) const { return !(*this == other); }

COrbuUtilCleanupInfoNode::COrbuUtilCleanupInfoNode(COrbuUtilCleanupInfo const& info,
                                                   COrbuUtilCleanupInfoNode* behind)
    : object(info.object), cleanup_hook(info.cleanup_hook), param(info.param), next(behind) {}

COrbuUtilCleanupInfoNode::~COrbuUtilCleanupInfoNode() {
    COrbuUtilCleanupInfoNode* node = next;
    while (node != nullptr) {
        // Cut off first, so that deleting it deletes it alone.
        COrbuUtilCleanupInfoNode* const behind = std::exchange(node->next, nullptr);
        delete node;
        node = behind;
    }
}

COrbuUtilCleanupInfoNode* COrbuUtilCleanupInfoNode::insert(COrbuUtilCleanupInfo const& info) {
    return new COrbuUtilCleanupInfoNode(info, this);
}

COrbuUtilExitInfo::COrbuUtilExitInfo() : registered_objects(new COrbuUtilCleanupInfoNode) {}

COrbuUtilExitInfo::~COrbuUtilExitInfo() { delete std::exchange(registered_objects, nullptr); }

int COrbuUtilExitInfo::at_exit_i(void* object, COrbuUtilCleanupHook hook, void* param) {
    registered_objects = registered_objects->insert({object, hook, param});
    return 0;
}

int COrbuUtilExitInfo::find(void* object) const {
    for (const COrbuUtilCleanupInfoNode* node = registered_objects; node != nullptr && node->next != nullptr;
         node = node->next) {
        if (node->object == object) {
            return 1;
        }
    }
    return 0;
}

void COrbuUtilExitInfo::call_hooks() {
    for (const COrbuUtilCleanupInfoNode* node = registered_objects; node != nullptr && node->next != nullptr;
         node = node->next) {
        if (node->cleanup_hook == destroyer()) {
            if (node->object != nullptr) {
                static_cast<COrbuUtilCleanup*>(node->object)->cleanup(node->param);
            }
        } else if (node->cleanup_hook == nullptr) {
            continue;
        } else if (node->object == &orbu_exit_hook_marker) {
            node->cleanup_hook(nullptr, nullptr);
        } else {
            node->cleanup_hook(node->object, node->param);
        }
    }
}

COrbuUtilObjectManagerBase::COrbuUtilObjectManagerBase()
    : object_manager_state(Uninitialized), dynamically_allocated(false), next(nullptr) {}

COrbuUtilObjectManagerBase::~COrbuUtilObjectManagerBase() { dynamically_allocated = false; }

bool COrbuUtilObjectManagerBase::starting_up_i() const { return object_manager_state < Initialized; }

bool COrbuUtilObjectManagerBase::shutting_down_i() const { return object_manager_state > Initialized; }

COrbuUtilObjectManager::COrbuUtilObjectManager() {
    if (instance_ == nullptr) {
        instance_ = this;
    }
    COrbuUtilObjectManagerBase& self = *this;
    self.init();
}

COrbuUtilObjectManager::~COrbuUtilObjectManager() {
    // Cleared first: this object is being deleted already.
    dynamically_allocated = false;
    if (!shutting_down_i()) {
        shut_down();
        if (instance_ == this) {
            instance_ = nullptr;
        }
    }
}

COrbuUtilObjectManager* COrbuUtilObjectManager::instance() {
    if (instance_ == nullptr) {
        COrbuUtilObjectManager* const made = new COrbuUtilObjectManager;
        made->dynamically_allocated = true;
    }
    return instance_;
}

int COrbuUtilObjectManager::at_exit(COrbuUtilCleanup* object, void* param) {
    return instance()->at_exit_i(object, destroyer(), param);
}

int COrbuUtilObjectManager::at_exit(void* object, COrbuUtilCleanupHook hook, void* param) {
    return instance()->at_exit_i(object, hook, param);
}

int COrbuUtilObjectManager::at_exit_i(void* object, COrbuUtilCleanupHook hook, void* param) {
    if (shutting_down_i() || exit_info.find(object) == 1) {
        return -1;
    }
    return exit_info.at_exit_i(object, hook, param);
}

int COrbuUtilObjectManager::init() {
    if (!starting_up_i()) {
        return 1;
    }
    object_manager_state = Initializing;
    if (instance_ == this) {
        instance_->next = this;
    }
    object_manager_state = Initialized;
    return 0;
}

void COrbuUtilObjectManager::shut_down() {
    object_manager_state = ShuttingDown;
    exit_info.call_hooks();
    object_manager_state = ShutDown;
}

int COrbuUtilObjectManager::fini() {
    if (shutting_down_i()) {
        return object_manager_state == ShutDown ? 1 : -1;
    }
    shut_down();
    COrbuUtilObjectManager* const former = this;
    if (dynamically_allocated) {
        delete this;
    }
    // The address alone: the object may be gone.
    if (instance_ == former) {
        instance_ = nullptr;
    }
    return 0;
}

COrbuUtilObjectManagerManager::COrbuUtilObjectManagerManager() { COrbuUtilObjectManager::instance(); }

COrbuUtilObjectManagerManager::~COrbuUtilObjectManagerManager() { cleanup(); }

void COrbuUtilObjectManagerManager::cleanup() {
    COrbuUtilObjectManager* const manager = COrbuUtilObjectManager::instance_;
    // A hook that tears down, or leaves through exit(), stands on the list that deleting would free.
    if (manager != nullptr && manager->object_manager_state == COrbuUtilObjectManager::ShuttingDown) {
        return;
    }
    delete manager;
    COrbuUtilObjectManager::instance_ = nullptr;
}
