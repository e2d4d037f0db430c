#include "server/svr_status.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

std::string Svr_Status_Path(const std::string& pipe)
{
    return pipe + ".status";
}

void Svr_Status_Write(const std::string& path, const Svr_Status& status)
{
    const std::string text = "pid " + std::to_string(status.Pid) + "\nstarted " +
                             std::to_string(status.Started) + "\nclients " +
                             std::to_string(status.Clients) + "\n";
    const std::string temporary = path + ".new";
    unlink(temporary.c_str());
    const int fd =
        open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    const bool written = write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (close(fd) != 0 || !written || rename(temporary.c_str(), path.c_str()) != 0)
        unlink(temporary.c_str());
}

bool Svr_Status_Read(const std::string& path, Svr_Status& status)
{
    const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat facts;
    char text[256];
    ssize_t count = -1;
    if (fstat(fd, &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_uid == geteuid())
        count = read(fd, text, sizeof text - 1);
    close(fd);
    if (count <= 0)
        return false;
    text[count] = '\0';
    long pid = 0;
    long long started = 0;
    unsigned long clients = 0;
    if (std::sscanf(text, "pid %ld\nstarted %lld\nclients %lu\n", &pid, &started, &clients) != 3 ||
        pid <= 0)
        return false;
    status = Svr_Status{static_cast<pid_t>(pid), static_cast<std::time_t>(started), clients};
    return true;
}
