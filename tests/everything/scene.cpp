#include "everything/scene.h"

#include "frame/platform.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <utility>

namespace everything {

Scene::Scene(Random& theRandom, const Purpose& purpose)
    : random(theRandom), hostile(purpose.hostile) {
    log.failRequest = purpose.failRequest;
    if (rare()) daxSetErrStatus(DAX_StatusBadArgument);
    // Checks that go by the status let through what they have reported.
    clearsStatus = hostile && random.chance(10);
    if (clearsStatus)
        daxRedirectError([](DaxStatus status, const char*, const char*, const char*, int32_t) {
            daxSetErrStatus(DAX_StatusNoError);
            return status;
        });
    srand(1); // for noise
}

Scene::~Scene() = default;

Shape Scene::shape(std::initializer_list<int32_t> depths, int32_t channels) {
    Shape shape = kit::anyShape(random);
    shape.depth = random.oneOf(depths);
    shape.channels = shape.depth == DAX_DEPTH_1U ? 1 : random.in(1, channels);
    shape.slack = random.chance(80) ? 0 : random.in(1, 19);
    if (random.chance(6)) {
        shape.width = random.in(41, 400);
        shape.height = random.in(1, 9);
    }
    if (shape.roi)
        shape.roi = kit::anyRoi(random, shape.width, shape.height,
                                random.chance(60) ? 0 : random.in(0, shape.channels));
    return shape;
}

Shape Scene::like(const Shape& other) {
    Shape shape = this->shape({other.depth});
    if (random.chance(50)) {
        shape.width = other.width;
        shape.height = other.height;
        if (shape.roi) shape.roi = other.roi;
        if (random.chance(50)) shape.roi.reset();
    }
    if (rare()) return this->shape();
    shape.order = other.order;
    shape.origin = other.origin;
    shape.channels = other.channels;
    if (shape.roi) shape.roi->coi = other.roi ? other.roi->coi : 0;
    return shape;
}

std::vector<Shape> Scene::fitting(int32_t count) {
    std::vector<Shape> shapes = kit::fittingShapes(random, count);
    if (rare()) shapes[0] = shape();
    return shapes;
}

DaxImage* Scene::image(Shape shape, const Allowed& allowed) {
    if (allowed.damage && hostile && random.chance(1)) return nullptr;
    if (allowed.shortSteps && random.chance(10)) {
        Shape packed = shape;
        packed.align = 1;
        shape.slack = static_cast<int32_t>(packed.rowStep() - shape.rowStep());
    }
    if (shape.roi && !allowed.regionBeyond) {
        DaxROI& roi = *shape.roi;
        roi.xOffset = random.in(0, shape.width - 1);
        roi.yOffset = random.in(0, shape.height - 1);
        roi.width = random.in(1, shape.width - roi.xOffset);
        roi.height = random.in(1, shape.height - roi.yOffset);
    }
    Random pixels(static_cast<uint64_t>(random.in(0, 255)));
    Picture& made = pictures.emplace_back(Picture{kit::Image(shape, pixels), nullptr, 0});
    made.before = mixed(0, made.plain.data(), made.plain.size());
    DaxImage* header = made.plain;
    header->alphaChannel = allowed.alpha;
    memcpy(header->colorModel, allowed.model, sizeof header->colorModel);
    memcpy(header->channelSeq, allowed.sequence, sizeof header->channelSeq);
    while (random.chance(50)) {
        const int32_t mode = rare() ? number(-3, 9) : random.in(0, 3);
        const int32_t sides = random.in(1, 15);
        daxSetBorderMode(header, mode, sides, number(-9, 300));
    }
    if (allowed.tiles && random.chance(35)) {
        const int32_t width = random.in(1, 3) * 8;
        const int32_t height = random.in(1, 3) * 8;
        made.tiles = std::make_unique<kit::Tiles>(made.plain, 'T', width, height, log);
        made.tiles->atMost = allowed.held;
        made.tiles->ends = allowed.ends;
        made.tiles->anyHeader = true;
        header = *made.tiles;
        if (allowed.far && random.chance(4)) goFar(*made.tiles);
    } else if (allowed.regionBeyond && header->roi != nullptr && hostile && random.chance(3)) {
        header->roi->width = number(1, 99);
        header->roi->height = number(1, 99);
        header->roi->xOffset = number(0, 99) & INT32_MAX;
        header->roi->yOffset = number(0, 99) & INT32_MAX;
        if (header->roi->width <= 0) header->roi->width = INT32_MAX;
        if (header->roi->height <= 0) header->roi->height = INT32_MAX;
    }
    if (allowed.damage && hostile && random.chance(4)) damage(header);
    return header;
}

// An image that no memory could hold, with a region somewhere in it.
void Scene::goFar(kit::Tiles& tiles) {
    const auto span = [&](int32_t* limit, int32_t* offset, int32_t* size) {
        *limit = random.oneOf({INT32_MAX, INT32_MAX - 7, 1 << 30, 1 << 20, 65536});
        *size = random.in(1, 30);
        *offset = random.chance(50) ? *limit - *size - random.in(0, 20) : random.in(0, *limit - 99);
    };
    DaxROI& roi = tiles.roi;
    if (tiles.header.roi == nullptr) roi.coi = 0;
    span(&tiles.header.width, &roi.xOffset, &roi.width);
    span(&tiles.header.height, &roi.yOffset, &roi.height);
    tiles.header.roi = &roi;
}

void Scene::damage(DaxImage* image) {
    const int32_t wrong = random.oneOf({0, -1, INT32_MIN});
    switch (random.in(0, 13)) {
    case 0: image->height = wrong; break;
    case 1: image->width = wrong; break;
    case 2: image->nChannels = wrong; break;
    case 3: image->depth = random.oneOf({0, 4, 32, 64, DAX_DEPTH_SIGN, DAX_DEPTH_SIGN + 1}); break;
    case 4: image->alphaChannel = random.oneOf({-1, image->nChannels + 1, INT32_MAX}); break;
    case 5: image->dataOrder = random.oneOf({-1, 2}); break;
    case 6: image->origin = random.oneOf({-1, 2}); break;
    case 7: image->align = random.oneOf({0, 1, 3, 16, -8}); break;
    case 8:
        if (image->tileInfo != nullptr)
            image->tileInfo->width = random.oneOf({0, -8, 9});
        else
            image->widthStep = wrong;
        break;
    case 9:
        if (image->tileInfo != nullptr)
            image->tileInfo->callBack = nullptr;
        else
            image->imageData = nullptr;
        break;
    case 10:
        if (image->tileInfo != nullptr)
            image->tileInfo = nullptr;
        else
            image->dataSize = wrong;
        break;
    case 11:
        if (image->roi != nullptr) image->roi->coi = random.oneOf({-1, image->nChannels + 1});
        break;
    case 12:
        if (image->roi != nullptr) image->roi->width = wrong;
        break;
    default:
        if (image->roi != nullptr) image->roi->xOffset = random.oneOf({-1, INT32_MIN});
        break;
    }
}

int32_t Scene::number(int32_t least, int32_t most) {
    if (!hostile || !random.chance(4)) return random.in(least, most);
    return random.oneOf<int32_t>({INT32_MIN, INT32_MIN + 1, -65536, -32769, -1, 0, 32768, 65535,
                                  65536, 1 << 30, INT32_MAX - 1, INT32_MAX});
}

const int32_t* Scene::tilePos() {
    if (random.chance(70)) return nullptr;
    const int32_t most = random.chance(50) ? 3 : 40;
    int32_t* const made = array<int32_t>(2);
    for (int32_t i = 0; i < 2; ++i) made[i] = number(-1, most);
    return made;
}

const DaxMapping* Scene::mapping() {
    if (random.chance(70)) return nullptr;
    DaxMapping* const made = array<DaxMapping>(1);
    *made = {number(-1, 40), number(-1, 40)};
    return made;
}

uint64_t Scene::mixed(uint64_t from, const uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i) from = (from ^ bytes[i]) * 0x100000001B3u;
    return from;
}

std::vector<Scene::Change> Scene::changes() const {
    std::vector<Change> list;
    for (const Picture& picture : pictures) {
        if (picture.tiles != nullptr) return {};
        list.push_back({picture.before, mixed(0, picture.plain.data(), picture.plain.size())});
    }
    return list;
}

uint64_t Scene::hash() {
    for (const Picture& picture : pictures) {
        const bool tiled = picture.tiles != nullptr;
        const DaxROI* roi = tiled ? picture.tiles->header.roi : picture.plain->roi;
        const DaxROI* own = tiled ? &picture.tiles->roi : &picture.plain.roi;
        keep(roi == nullptr ? 0 : roi == own ? 1 : 2);
        if (picture.tiles == nullptr) {
            mix(picture.plain.data(), picture.plain.size());
            continue;
        }
        picture.tiles->forEachTile([&](const kit::Image& tile) { mix(tile.data(), tile.size()); });
    }
    for (const Array& array : arrays) mix(array.bytes.get(), array.hashed);
    for (const auto* texts : {&seen, &log.lines})
        for (const std::string& text : *texts)
            mix(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    return state;
}

void quietPlatform() {
    ownPlatform.messageBox = [](const char* text, const char* caption, uint32_t) {
        return strlen(text) + strlen(caption) > 0 ? ownAnswerOk : ownAnswerCancel;
    };
    ownPlatform.printError = [](const char* format, va_list values) {
        char text[2000];
        vsnprintf(text, sizeof text, format, values);
    };
}

Outcome play(const Scenario& scenario, Random& random, const Purpose& purpose) {
    Scene scene(random, purpose);
    scenario.run(scene);
    scene.seen = scene.reports.take();
    Outcome outcome;
    outcome.hash = scene.hash();
    outcome.changes = scene.changes();
    outcome.reports = std::move(scene.seen);
    outcome.requests = scene.log.requests;
    return outcome;
}

} // namespace everything
