// Names of operating systems, their versions, processors and byte orders, as reports print them.

#include "base/system_ids.h"

const char* os_name(INT_U32 id)
{
    switch (id) {
    case 1: return "Intel Linux";
    case 17: return "Mac OS X";
    case 33: return "Microsoft Windows";
    case 129: return "GP2X Linux";
    case 130: return "ARM Windows Mobile";
    case 131: return "PSP OS";
    case 132: return "NintendoDS OS";
    case 133: return "iPhone OS";
    case 134: return "Pandora Linux";
    case 135: return "Android";
    default: return "Unknown OS type";
    }
}

const char* os_version_name(INT_U32 id)
{
    static const char* const mac[] = { "Mac OS X 10.0 (Cheetah)", "Mac OS X 10.1 (Puma)",
        "Mac OS X 10.2 (Jaguar)", "Mac OS X 10.3 (Panther)", "Mac OS X 10.4 (Tiger)",
        "Mac OS X 10.5 (Leopard)", "Unknown Mac OS X" };
    static const char* const windows[] = { "Windows NT3.5", "Windows NT4", "Windows 98",
        "Windows ME", "Windows 2000", "Windows XP", "Windows Server2003", "Windows Vista",
        "Windows Server2008", "Windows 7" };
    static const char* const iphone[] = { "Unknown iPhone", "iPhone Simulator", "1st Gen iPod",
        "2nd Gen iPod", "Original iPhone", "3G iPhone", "3GS iPhone", "3rd Gen iPod", "iPhone 4",
        "iPad", "4th Gen iPod", "Verizon iPhone 4", "iPhone 4S", "iPad 3G", "iPhone Simulator",
        "iPad 2" };
    switch (id) {
    case 256: return "32 Bit Linux";
    case 257: return "64 Bit Linux";
    case 10649: return "Unknown Windows";
    case 33024: return "F100";
    case 33025: return "F200";
    case 33280: return "Windows Mob";
    case 33536: return "Generic";
    case 34304: return "Pandora Rev1 Zaxxon";
    case 34560: return "Andriod";
    default: break;
    }
    if (id >= 4352 && id < 4352 + sizeof mac / sizeof mac[0])
        return mac[id - 4352];
    if (id >= 8448 && id < 8448 + sizeof windows / sizeof windows[0])
        return windows[id - 8448];
    if (id >= 34048 && id < 34048 + sizeof iphone / sizeof iphone[0])
        return iphone[id - 34048];
    return "Unknown OS version";
}

const char* cpu_name(INT_U32 id)
{
    static const char* const names[] = { "AMD", "Intel", "PowerPC", "ARM", "ARMv7" };
    if (id >= 1 && id <= 5)
        return names[id - 1];
    return "Unknown CPU type";
}

const char* byte_order_name(INT_U32 id)
{
    if (id == 0)
        return "Least significant byte first";
    if (id == 1)
        return "Most significant byte first";
    return "Unknown byte order";
}
