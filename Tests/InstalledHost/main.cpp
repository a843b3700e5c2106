// The smallest host: calls the installed plug-in, and catches the exception of a camera that is not there.

#include <Communicator/DeviceException.h>
#include <Communicator/PosixEthernetCommunicator.h>
#include <DeviceControl/DeviceType.h>
#include <ImagingLibrary/image_t.h>
#include <NativeCameraKorva/KorvaBinaryCommunication.h>
#include <NativeCameraKorva/KorvaCameraLoader.h>
#include <NativeCameraKorva/KorvaCommParser.h>
#include <NativeCameraKorva/KorvaHelper.h>

#include <cstdio>

int main() {
    const unsigned char probe[] = {1, 0, 0, 0, 14, 1, 4, 0, 0, 0, 1, 0, 0, 21};
    if (Korva::Binary::calculateChkSum(probe, sizeof probe) != 21)
        return 1;
    if (pnx_initialize_device_plugin(1) != 0 || getKorvaCameraType().getName() != L"Korva")
        return 1;
    char reply[] = "[Korva --Room Lab]";
    Korva::CommParser parser;
    parser.parse(reply);
    if (parser.getValue("--Room") != "Lab")
        return 1;

    // Nothing listens on the discard port of this machine.
    PosixEthernetCommunicator camera(L"127.0.0.1", 9, 200);
    try {
        Korva::capture(&camera, false, false, false, 15, false);
    } catch (const DeviceException& error) {
        std::printf("installed package works: %s\n", error.what());
        return 0;
    }
    return 2;
}
