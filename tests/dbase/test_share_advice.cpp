// What is told of the file system under a table, from the system's own words for it.

#include "dbase/ShareAdvice.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace
{

using namespace dbase;

TEST(ShareAdvice, FindsTheMountOfAFile)
{
    const std::string mounts =
        "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw,errors=remount-ro\n"
        "23 22 0:21 / /srv rw shared:2 master:7 - tmpfs none rw,size=10k\n"
        "24 23 0:52 /a /srv/notaria rw - cifs //servidor/notaria rw,vers=3.1.1\n"
        "no es una línea\n"
        "25 23 0:53 / /srv/otra rw - nfs4\n"
        "26 23 0:54 / /srv/dos rw - autofs systemd-1 rw,fd=1\n"
        "27 26 0:55 / /srv/dos rw - nfs4 servidor:/dos rw,vers=4.2\n"
        "28 22 0:56 / /mnt/Mis\\040papeles\\134\\011a\\0 rw - cifs //s/Mis\\040cosas rw\n"
        "29 22 0:57 / /mnt/\\777\\08 rw - cifs //s/x rw";
    const struct {
        const char *path;
        const char *point;
        const char *type;
        const char *source;
    } cases[] = {
        {"/srv/notaria/NOTARIO1/AGENDA_N.DBF", "/srv/notaria", "cifs", "//servidor/notaria"},
        {"/srv/notaria", "/srv/notaria", "cifs", "//servidor/notaria"},
        {"/srv/notaria2/AGENDA.DBF", "/srv", "tmpfs", "none"},
        {"/srv/otra/AGENDA.DBF", "/srv", "tmpfs", "none"},
        {"/srv/dos/AGENDA.DBF", "/srv/dos", "nfs4", "servidor:/dos"},
        {"/mnt/Mis papeles\\\ta\\0/x", "/mnt/Mis papeles\\\ta\\0", "cifs", "//s/Mis cosas"},
        {"/mnt/\\777\\08/x", "/mnt/\\777\\08", "cifs", "//s/x"},
        {"/sr", "/", "ext4", "/dev/sda1"},
    };
    for (const auto &one : cases) {
        const auto mount = mountOf(mounts, one.path);
        ASSERT_TRUE(mount) << one.path;
        EXPECT_EQ(mount->point, one.point) << one.path;
        EXPECT_EQ(mount->type, one.type) << one.path;
        EXPECT_EQ(mount->source, one.source) << one.path;
    }
    const auto share = mountOf(mounts, "/srv/notaria");
    ASSERT_TRUE(share);
    EXPECT_EQ(share->options, (std::vector<std::string>{"rw", "rw", "vers=3.1.1"}));
    for (const char *const none : {"", "relativa", "//srv"})
        EXPECT_FALSE(mountOf(mounts.substr(mounts.find("23 22")), none)) << none;
    EXPECT_FALSE(mountOf("", "/srv"));
}

TEST(ShareAdvice, NamesEachFaultOfAMount)
{
    // The options as kernels write them; expected are the words that the user looks for in each sentence.
    const std::string goodSmb = "rw,vers=3.1.1,cache=none,username=ana,uid=0,noforceuid,addr=10.0.0.1,hard,"
                                "nounix,serverino,mapposix,rsize=4194304,echo_interval=60,actimeo=1";
    const std::string goodNfs = "rw,vers=4.2,rsize=131072,namlen=255,hard,proto=tcp,timeo=600,sec=sys,"
                                "clientaddr=10.0.0.2,local_lock=none,addr=10.0.0.1";
    const auto with = [](std::string options, const std::string &old, const std::string &now) {
        return options.replace(options.find(old), old.size(), now);
    };
    const struct {
        std::string type;
        std::string options;
        std::vector<std::string> words;
    } cases[] = {
        {"cifs", goodSmb, {}},
        {"smb3", with(goodSmb, "3.1.1", "3.02"), {}},
        {"cifs", goodSmb + ",nobrl", {"«nobrl»"}},
        {"cifs", with(goodSmb, "cache=none", "cache=strict"), {"«cache=strict»"}},
        {"cifs", with(goodSmb, "cache=none", "cache=loose"), {"«cache=loose»"}},
        {"cifs", with(goodSmb, "cache=none,", ""), {"sin «cache=none»"}},
        {"cifs", with(goodSmb, "hard", "soft"), {"ponga hard"}},
        {"cifs", with(goodSmb, "3.1.1", "2.1"), {"SMB 2.1"}},
        {"cifs", "rw,vers=1.0,cache=strict,soft,nobrl", {"nobrl", "cache=none", "hard", "SMB 1.0"}},
        {"nfs4", goodNfs, {}},
        {"nfs", with(goodNfs, "4.2", "4"), {}},
        {"nfs", with(goodNfs, "4.2", "3") + ",mountvers=3", {"NFS 3,"}},
        {"nfs", with(goodNfs, "4.2", "3") + ",nolock", {"«nolock»", "NFS 3,"}},
        {"nfs4", with(goodNfs, "lock=none", "lock=all") + ",nolock", {"«local_lock=all»"}},
        {"nfs4", with(goodNfs, "lock=none", "lock=posix"), {"«local_lock=posix»"}},
        {"nfs4", with(goodNfs, "hard", "soft"), {"«soft»"}},
        {"nfs4", with(goodNfs, "hard", "softerr"), {"«softerr»"}},
        {"fuse.sshfs", "rw,user_id=0", {"«fuse.sshfs»"}},
        {"9p", "rw,trans=virtio", {"«9p»"}},
        {"fuseblk", "rw,user_id=0,allow_other", {}},
        {"", "", {}},
    };
    for (const auto &one : cases) {
        const auto mount = mountOf(
            "7 1 0:5 / /notaria rw,relatime shared:1 - " + one.type + " x " + one.options, "/notaria/x");
        ASSERT_TRUE(mount);
        const auto warnings = mountWarnings(*mount);
        ASSERT_EQ(warnings.size(), one.words.size()) << one.type << ' ' << one.options;
        for (std::size_t i = 0; i < warnings.size(); ++i) {
            EXPECT_NE(warnings[i].find(one.words[i]), std::string::npos) << warnings[i];
            EXPECT_NE(warnings[i].find("la carpeta /notaria "), std::string::npos) << warnings[i];
        }
    }
}

TEST(ShareAdvice, KnowsWhatLiesUnderThisProgram)
{
    // Tests run on a disk of their machine. What does not exist yet lies where it would be made.
    const support::TempFolder folder;
    for (const auto &path : {folder.path(), folder.path() / "no" / "hay" / "NADA.DBF"}) {
        const Share share = shareOf(path);
        EXPECT_TRUE(share.local) << share.mount.type;
        EXPECT_FALSE(share.mount.type.empty());
        EXPECT_FALSE(share.mount.point.empty());
        EXPECT_TRUE(share.warnings.empty());
        EXPECT_TRUE(shareAdvice(path).empty());
    }
#if defined(__linux__)
    // The one file system that every Linux has and that no list of disks names.
    EXPECT_EQ(shareOf("/proc/self/status").mount.type, "proc");
    ASSERT_EQ(shareAdvice("/proc/self/status").size(), 1U);
    EXPECT_NE(shareAdvice("/proc/self/status")[0].find("la carpeta /proc usa «proc»"), std::string::npos);
    std::filesystem::create_symlink("/proc", folder.path() / "enlace");
    EXPECT_EQ(shareOf(folder.path() / "enlace" / "self").mount.type, "proc");
#endif
}

} // namespace
