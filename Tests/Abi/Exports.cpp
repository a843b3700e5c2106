// Never linked: it names all that the library exports, and what the names become is compared with
// ExportedNames.txt.

#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "NativeCameraKorva/KorvaCommParser.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaTypeObject.h"

#include <utility>

template <typename... Functions>
void name(Functions...);

void nameAll(Korva::CommParser& parser) {
    name(&pnx_initialize_device_plugin, &pnx_uninitialize_device_plugin, &initializeKorvaCamera,
         &getKorvaCameraType, &Korva::capture, &Korva::determineCameraInfo, &Korva::checkSoftwareVersion,
         &Korva::Binary::calculateChkSum, &Korva::Binary::getChkSum, &Korva::Binary::createAndSendMessage,
         &Korva::Binary::parseIncomingMessage, &Korva::Binary::validateCommandResponse,
         &Korva::CommParser::parse, &Korva::CommParser::isParsed, &Korva::CommParser::getValue);
    Korva::CommParser made;
    Korva::CommParser copied(parser);
    Korva::CommParser moved(std::move(parser));
    copied = made;
    moved = std::move(made);
}
