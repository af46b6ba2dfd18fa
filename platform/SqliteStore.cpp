#include "SqliteStore.h"

namespace kelpay {

bool SqliteStore::open(bool isPatient, bool isRepairPatient)
{
    if (m_database && m_database->m_isDamaged) {
        m_database = SqliteDatabase::repair(std::move(m_database), isRepairPatient);
    } else if (!m_database || !m_database->isCurrent()) {
        m_database.reset();
        m_database = SqliteDatabase::open(m_path, m_durability, m_schema, isPatient);
    }
    return m_database != nullptr;
}

bool SqliteStore::attempt(const std::function<void(SqliteDatabase &)> &action, Wait wait)
{
    const std::scoped_lock lock(m_mutex);
    const bool isPatient = wait == Wait::Patiently;
    for (int run = 0; run < 2; ++run) {
        // What is damaged from the start, an earlier call could not repair: it waited, this one does not.
        if (!open(isPatient, isPatient && run > 0))
            return false;
        // The repair was tried just now, and failed.
        const bool isLeftDamaged = m_database->m_isDamaged;
        m_database->setPatient(isPatient && !isLeftDamaged);
        m_database->m_hasFailed = false;
        action(*m_database);
        if (!m_database->m_hasFailed)
            return true;
        if (isLeftDamaged || (!m_database->m_isDamaged && !m_database->isMoved()))
            return false;
    }
    return false;
}

} // namespace kelpay
