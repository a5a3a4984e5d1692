// The least a program can do to read an accelerometer: open the three raw attributes of
// iio:device0 under VEKR_SYSFS_ROOT and read them once. The baseline for the module's
// start-to-verdict time.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

int main() {
    const char* root = std::getenv("VEKR_SYSFS_ROOT");
    const std::string dir = std::string(root ? root : "/sys") + "/bus/iio/devices/iio:device0/";
    char buf[64];
    for (const char* name : {"in_accel_x_raw", "in_accel_y_raw", "in_accel_z_raw"}) {
        const int fd = ::open((dir + name).c_str(), O_RDONLY);
        if (fd < 0 || ::pread(fd, buf, sizeof buf, 0) <= 0)
            return 1;
        ::close(fd);
    }
    return 0;
}
