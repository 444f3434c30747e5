// A home directory and an application folder of the test's own: the home directory of the
// process (system_info.h and HOME) points into a temporary folder, and "$APP" is the folder
// "app" beside it under the given application name. The home holds "tmp", so $TEMP lies inside. Everything goes back at the end of the scope.
#pragma once

#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "io/folder.h"
#include "host/system_info.h"
#include "test_support.h"

class FAKE_HOME {
public:
    explicit FAKE_HOME(const char* app_name)
    {
        home = temp.file("home");
        app = temp.file("app");
        mkdir(home.c_str(), 0755);
        mkdir(app.c_str(), 0755);
        // Temporary folders of the test go here rather than into /tmp.
        mkdir((home + "/tmp").c_str(), 0755);
        const char* old = getenv("HOME");
        had_home = old != nullptr;
        if (old)
            old_home = old;
        setenv("HOME", home.c_str(), 1);
        set_home_directory(home.c_str());
        FOLDER app_folder;
        app_folder.set_raw(app.c_str());
        set_base_path(&app_folder, app_name);
    }
    ~FAKE_HOME()
    {
        clear_base_path();
        set_home_directory(nullptr);
        if (had_home)
            setenv("HOME", old_home.c_str(), 1);
        else
            unsetenv("HOME");
    }
    FAKE_HOME(const FAKE_HOME&) = delete;
    FAKE_HOME& operator=(const FAKE_HOME&) = delete;

    // Makes a folder (and its parents) under the temporary folder; answers its path.
    std::string make(const std::string& relative) const
    {
        std::string path = temp.path();
        size_t start = 0;
        while (start <= relative.size()) {
            size_t slash = relative.find('/', start);
            if (slash == std::string::npos)
                slash = relative.size();
            path += "/" + relative.substr(start, slash - start);
            mkdir(path.c_str(), 0755);
            start = slash + 1;
        }
        return path;
    }

    TEMP_FOLDER temp;
    std::string home;
    std::string app;

private:
    std::string old_home;
    bool had_home { false };
};

// The path a text sets a folder to, or "<failed> " and where the folder was left. `create` makes
// the variable's own folder and the elements behind it.
inline std::string resolved(const char* text, bool create = false)
{
    FOLDER folder;
    if (!folder.set(text, create, nullptr, create))
        return std::string("<failed> ") + folder.path();
    return folder.path();
}
