#include "orbulog/orbuLogPathPrivate.h"

#include "orbuutil/c_strPrivate.h"
#include "orbuutil/orbuUtil.h"
#include "orbuutil/tpath.h"

#include <string>
#include <string_view>

TStr private_log_path(TStr const& folder, char const* name) {
    std::string_view const text = private_str_text_or_empty(folder.handle());
    TStr path(folder);
    if (text.empty() || text.back() != '/') {
        path += "/";
    }
    return path += name;
}

TStr private_user_log_path(char const* name) {
    TPath folder(OrbuUtil::getOrbuLocalUserDataLocation());
    folder.mkpath(0770);
    return folder.exists() ? private_log_path(folder, name) : TStr("");
}

TStr private_log_mutex_name(TStr const& path) {
    std::string name = private_str_text_or_empty(path.handle());
    name.erase(0, name.rfind('/') + 1); // without a "/" that is all of it: npos + 1 is 0
    return name.empty() ? TStr("") : TStr(name.append(".Mutex").c_str());
}
