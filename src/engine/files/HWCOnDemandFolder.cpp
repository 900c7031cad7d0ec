#include "engine/files/HWCOnDemandFolder.h"

#include "engine/files/HWCConfinedFolder.h"

std::shared_ptr<const HWCConfinedFolder> HWCOnDemandFolder::get() const
{
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<const HWCConfinedFolder> folder = m_folder.lock();
    if (!folder) {
        folder = std::make_shared<const HWCConfinedFolder>(m_path);
        m_folder = folder;
    }
    return folder;
}
