// iodtool get and set, run as a program on a file written here.
#include <IOD/IOD_Msg.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#ifdef IODTOOL_PATH

namespace {

struct ToolRun {
    int code;
    std::string out;
};

ToolRun Iodtool(const std::string& args) {
    const std::string command = std::string(IODTOOL_PATH) + " " + args + " 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    ToolRun run{-1, ""};
    if (pipe == nullptr) return run;
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) run.out += buffer;
    const int status = pclose(pipe);
    run.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

}  // namespace

TEST(IodtoolGetSet, WritesAndReadsAttributesByName) {
    const std::string in = "/tmp/iodtool_in_" + std::to_string(getpid()) + ".dcm";
    const std::string out = "/tmp/iodtool_out_" + std::to_string(getpid()) + ".dcm";
    {
        IOD_Msg msg;
        msg.SetSOPClassUID(Dicom_UI("1.2.840.10008.5.1.4.1.1.7"));
        msg.SetSOPInstanceUID(Dicom_UI("1.2.3.4.5"));
        msg.SetPatientsName(Dicom_PN("Doe^Jane"));
        msg.SetRows(Dicom_US(256));
        std::vector<unsigned char> bytes;
        ASSERT_EQ(msg.Encode(bytes, Dicom_TransferSyntax(Dicom_TransferSyntax::EXPLICIT_LITTLE_ENDIAN), true),
                  0);
        std::ofstream(in, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    ToolRun set = Iodtool("set " + in + " " + out +
                          " 'AccessionNumber=A-1' 'Rows_i:3=64' 'WindowCenter=40\\400' 'MsgLength=99'");
    ASSERT_EQ(set.code, 0);
    ToolRun get =
        Iodtool("get " + out + " PatientsName Rows AccessionNumber Rows_i:3 Rows_i:2 WindowCenter MsgLength");
    EXPECT_EQ(get.code, 0);
    EXPECT_EQ(get.out,
              "PatientsName = Doe^Jane\n"
              "Rows = 256\n"
              "AccessionNumber = A-1\n"
              "Rows_i:3 = 64\n"
              "Rows_i:2: absent\n"
              "WindowCenter = 40\\400\n"
              "MsgLength = 99\n");

    EXPECT_EQ(Iodtool("get " + out + " NoSuchAttribute").code, 2);
    EXPECT_EQ(Iodtool("set " + out + " " + out + " Rows=notanumber").code, 2);
    EXPECT_EQ(Iodtool("get /nonexistent/file Rows").code, 1);
    std::remove(in.c_str());
    std::remove(out.c_str());
}

#endif  // IODTOOL_PATH
