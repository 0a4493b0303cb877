#include "host/qv_library.h"

#include "host/paths.h"
#include "host/settings.h"

namespace pendara {

std::string QvLibrary::GetSetting(const std::string& key, const std::string& section,
                                  const std::string& def, const std::string&) {
    return pendara::GetSetting(key, section, def);
}

void QvLibrary::SaveSetting(const std::string& key, const std::string& value,
                            const std::string& section, const std::string&) {
    pendara::SaveSetting(key, value, section);
}

std::string QvLibrary::GetCompanyDirs(const std::string& companyFile) {
    return FolderOf(companyFile);
}

std::string QvLibrary::InputText(const std::string& prompt, std::int16_t, std::int16_t,
                                 const std::string&, const std::string&, std::int32_t) {
    return port_.InputBox(prompt, "Quorvex", true);
}

}  // namespace pendara
