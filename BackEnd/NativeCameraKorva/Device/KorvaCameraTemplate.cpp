#include "NativeCameraKorva/KorvaCameraTemplate.h"

KorvaCameraTemplate::~KorvaCameraTemplate() = default;
