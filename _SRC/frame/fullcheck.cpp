#include "frame/fullcheck.h"

#include <cstring>

bool ownRejects(const OwnCall& call, bool condition, const char* text, const char* name,
                int32_t line) {
    if (!condition) return false;
    char full[256];
    size_t length = 0;
    const auto put = [&](const char* part, size_t size) {
        const size_t room = sizeof full - 1 - length;
        if (size > room) size = room;
        memcpy(full + length, part, size);
        length += size;
    };
    for (; *text != '\0'; ++text) {
        if (*text == '@')
            put(name, strlen(name));
        else
            put(text, 1);
    }
    full[length] = '\0';
    return call.rejects(true, full, line);
}

bool ownFullCheck(const OwnCall& call, DaxImage* image, const char* name, int32_t line) {
    const auto rejects = [&](bool condition, const char* text) {
        return ownRejects(call, condition, text, name, line);
    };
    if (rejects(image == nullptr, "@==0")) return false;
    if (rejects(daxBadImageHeader(image) != 0, "daxBadImageHeader(@) != 0")) return false;
    if (rejects(image->width <= 0, "@->width <= 0")) return false;
    if (rejects(image->height <= 0, "@->height <= 0")) return false;
    if (rejects(image->nChannels <= 0, "@->nChannels <= 0")) return false;
    if (const DaxROI* roi = image->roi) {
        if (rejects(roi->width <= 0, "@->roi->width <= 0")) return false;
        if (rejects(roi->height <= 0, "@->roi->height <= 0")) return false;
        if (rejects(roi->xOffset < 0, "@->roi->xOffset < 0")) return false;
        if (rejects(roi->yOffset < 0, "@->roi->yOffset < 0")) return false;
        if (rejects(roi->xOffset >= image->width, "@->roi->xOffset >= @->width")) return false;
        if (rejects(roi->yOffset >= image->height, "@->roi->yOffset >= @->height")) return false;
        if (rejects(roi->coi < 0, "@->roi->coi < 0")) return false;
        if (rejects(roi->coi > image->nChannels, "@->roi->coi > @->nChannels")) return false;
    }
    const bool data = image->imageData != nullptr;
    const DaxTileInfo* tiles = image->tileInfo;
    if (rejects(data && tiles != nullptr,
                "@->imageData != ((void*)(0)) && @->tileInfo != ((void*)(0))"))
        return false;
    if (rejects(!data && tiles == nullptr,
                "@->imageData == ((void*)(0)) && @->tileInfo == ((void*)(0))"))
        return false;
    if (tiles == nullptr) return true;
    if (rejects(tiles->callBack == nullptr, "@->tileInfo->callBack==0")) return false;
    if (rejects(tiles->width <= 0, "@->tileInfo->width <= 0")) return false;
    return !rejects(tiles->height <= 0, "@->tileInfo->height <= 0");
}
