// IOD_Msg: overlay (60xx) and curve (50xx) repeating-group indexes, and the scaling of the
// presentation objects drawn on an image (shutters, displayed areas, graphic annotations, text
// overlays and curves) when the image is resampled.
//
// A repeating-group index i stands for the groups whose low byte is 2i (public attributes) and
// 2i + 1 (private ones) within the family; 128 indexes are used, not the 16 of the standard
// families. Indexes are contiguous from 0 by convention: the searches stop at the first index
// without Overlay Type, and removing an index renumbers the ones above it.
#include <Dicom/Dicom_Dictionary.h>
#include <IOD/IOD_Msg.h>
#include <KvlLog/Kvl_LogFile.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace {

constexpr const char* kSource = "src/IOD/IOD_Msg";
constexpr int kIndexes = 128;
constexpr unsigned short kOverlays = 0x6000;
constexpr unsigned short kCurves = 0x5000;

// `v` truncated toward zero into T, saturating at T's limits; NaN gives 0.
template <class T>
T Truncated(double v) {
    if (std::isnan(v)) return T(0);
    if (v <= static_cast<double>(std::numeric_limits<T>::lowest())) return std::numeric_limits<T>::lowest();
    if (v >= static_cast<double>(std::numeric_limits<T>::max())) return std::numeric_limits<T>::max();
    return static_cast<T>(v);
}

// Rounding of shutters and displayed areas: add 0.5, then truncate toward zero (so that
// negative results are not rounded symmetrically).
int Rounded(double v) { return Truncated<int>(v + 0.5); }

// A double as single precision; out of range: infinite of its sign.
float ToFloat(double d) {
    if (d > std::numeric_limits<float>::max()) return std::numeric_limits<float>::infinity();
    if (d < -std::numeric_limits<float>::max()) return -std::numeric_limits<float>::infinity();
    return static_cast<float>(d);
}

// The value under `tag` read as the accessors read it: a copy in class V, or V's empty (null)
// value when absent. Used on this message and on the items of its sequences alike.
template <class V>
V ValueAs(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_Type* found = msg.Get(tag);
    V value;
    if (found == nullptr) return value;
    if (found->GetVR() == V::kVR) return V(*static_cast<const V*>(found));
    if (found->GetVR() != Dicom_VR::SQ) value.SetRaw(found->GetData(), found->GetRawLen());
    return value;
}

// Tag of `element` in the curve group of index i.
Dicom_Tag CurveTag(unsigned short element, int i) {
    Dicom_Tag tag(kCurves, element);
    tag.SetRepeatingGroup(i);
    return tag;
}

// The sequence under `tag`, or null when it is absent or not a sequence.
const Dicom_SQ* SequenceOf(const Dicom_Msg& msg, const Dicom_Tag& tag) {
    const Dicom_ME* me = msg.Find(tag, false);
    const Dicom_Type* v = me ? me->GetData() : nullptr;
    return v && v->GetVR() == Dicom_VR::SQ ? static_cast<const Dicom_SQ*>(v) : nullptr;
}

// The same, about to be changed in its items: a sequence that the message only presents (one of
// the message a composite is laid over) is first copied into the message's own store, so that
// the underlying message is never written.
Dicom_SQ* ChangeableSequenceOf(Dicom_Msg& msg, const Dicom_Tag& tag) {
    if (SequenceOf(msg, tag) == nullptr) return nullptr;
    Dicom_ME* me = msg.FindChangeable(tag);
    Dicom_Type* v = me ? me->GetChangeableData() : nullptr;
    return v && v->GetVR() == Dicom_VR::SQ ? static_cast<Dicom_SQ*>(v) : nullptr;
}

// Index i is a text overlay: both private text elements present in its group.
bool IsTextOverlay(const IOD_Msg& msg, int i) {
    return msg.GetTextOverlayString_i(i) != LO_NULL && msg.GetTextOverlayPosition_i(i) != FL_NULL;
}

bool ValidIndex(const char* function, int index, unsigned short group) {
    if (index >= 0 && index < kIndexes && (group == kOverlays || group == kCurves)) return true;
    KVL_LOG(kSource, function, 3, 19, "index <%d> of group <%04x> is out of range; nothing done\n", index,
            group);
    return false;
}

// The values of an IS, value k multiplied by `even` when k is even and by `odd` when it is odd,
// rounded; nothing when a value is not an integer (the element is then left as it is).
std::optional<Dicom_IS> ScaledIS(const Dicom_IS& v, double even, double odd) {
    std::string text;
    for (int k = 0; k < v.GetVM(); ++k) {
        int n = 0;
        if (v.GetValue(k, &n) != 0) return std::nullopt;
        if (k > 0) text += '\\';
        text += std::to_string(Rounded(n * (k % 2 == 0 ? even : odd)));
    }
    return Dicom_IS(text);
}

using ISGetter = Dicom_IS (IOD_Msg::*)() const;
using ISSetter = int (IOD_Msg::*)(const Dicom_IS&);

void ScaleShutterValue(IOD_Msg& msg, ISGetter get, ISSetter set, double even, double odd) {
    const Dicom_IS value = (msg.*get)();
    if (value == IS_NULL) return;
    if (std::optional<Dicom_IS> scaled = ScaledIS(value, even, odd)) (msg.*set)(*scaled);
}

// Points of curve data scaled: point k by factors[k % 2], written to `out`.
template <class T>
void ScalePoints(const unsigned char* in, unsigned char* out, size_t count, const double factors[2]) {
    for (size_t k = 0; k < count; ++k) {
        T v;
        std::memcpy(&v, in + k * sizeof(T), sizeof(T));
        const double s = static_cast<double>(v) * factors[k % 2];
        T r;
        if constexpr (std::is_integral_v<T>) {
            r = Truncated<T>(s);
        } else if constexpr (std::is_same_v<T, float>) {
            r = ToFloat(s);
        } else {
            r = s;
        }
        std::memcpy(out + k * sizeof(T), &r, sizeof(T));
    }
}

// move_curves_by on one level (this message or one additional-curves item).
void ScaleCurvesOf(Dicom_Msg& level, double x, double y) {
    constexpr const char* kFunction = "IOD_Msg::move_curves_by";
    for (int i = 0; i < kIndexes; ++i) {
        const Dicom_OB data = ValueAs<Dicom_OB>(level, CurveTag(0x3000, i));
        const Dicom_US dimensions = ValueAs<Dicom_US>(level, CurveTag(0x0005, i));
        const Dicom_US points = ValueAs<Dicom_US>(level, CurveTag(0x0010, i));
        const Dicom_CS type = ValueAs<Dicom_CS>(level, CurveTag(0x0020, i));
        const Dicom_US representation = ValueAs<Dicom_US>(level, CurveTag(0x0103, i));
        if (data == OB_NULL || dimensions == US_NULL || points == US_NULL || type == CS_NULL ||
            representation == US_NULL)
            return;

        double factors[2] = {x, y};
        unsigned divisor = 1;
        const Dicom_US descriptor = ValueAs<Dicom_US>(level, CurveTag(0x0110, i));
        if (descriptor != US_NULL) {
            const int vm = descriptor.GetVM();
            if (vm < 1 || vm > 2) {
                KVL_LOG(kSource, kFunction, 4, 19,
                        "IOD_Msg::move_curves_by.CurveDataDescriptor.vm < 1 or vm > 2.Ignoring...\n");
                continue;
            }
            double implicitFactor = 0;
            const bool firstImplicit = descriptor.Get(0) == 0;
            const bool secondImplicit = vm == 2 && descriptor.Get(1) == 0;
            if (firstImplicit) {
                factors[0] = factors[1] = y;
                implicitFactor = x;
            }
            if (secondImplicit) {
                factors[0] = factors[1] = x;
                implicitFactor = y;
            }
            if (firstImplicit && secondImplicit) {
                KVL_LOG(
                    kSource, kFunction, 3, 19,
                    "IOD_Msg::move_curves_by.CurveDataDescriptor.x and y cord have value of 0.Ignoring...\n");
                continue;
            }
            if (firstImplicit || secondImplicit) {
                const Dicom_US start = ValueAs<Dicom_US>(level, CurveTag(0x0112, i));
                const Dicom_US step = ValueAs<Dicom_US>(level, CurveTag(0x0114, i));
                if (start == US_NULL || step == US_NULL) {
                    KVL_LOG(
                        kSource, kFunction, 4, 19,
                        "IOD_Msg::move_curves_by.CoordinateStartValue or CoordinateStepValue does not exist.Ignoring...\n");
                    continue;
                }
                for (const auto& [value, element] : {std::pair{&start, 0x0112}, std::pair{&step, 0x0114}}) {
                    std::vector<unsigned short> scaled = value->GetValues();
                    for (unsigned short& v : scaled) v = Truncated<unsigned short>(v * implicitFactor);
                    Dicom_US us(scaled);
                    level.Set(CurveTag(static_cast<unsigned short>(element), i), &us);
                }
                divisor = 2;
            }
        }

        // The stored values, as many as the data holds at most; bytes past them (an odd
        // length, or more data than the curve counts) are kept as they are.
        static constexpr unsigned kWidths[] = {2, 2, 4, 8, 4};
        const unsigned code = representation.Get(0);
        if (code >= 5) {
            KVL_LOG(kSource, kFunction, 3, 19, "move_curves_by: data VR is unknown\n");
            return;
        }
        const uint64_t counted = uint64_t(dimensions.Get(0)) * points.Get(0) / divisor;
        const size_t length = data.GetRawLen();
        const size_t count = static_cast<size_t>(std::min<uint64_t>(counted, length / kWidths[code]));
        std::vector<unsigned char> buffer(data.GetData(), data.GetData() + length);
        switch (code) {
            case 0:
                ScalePoints<uint16_t>(data.GetData(), buffer.data(), count, factors);
                break;
            case 1:
                ScalePoints<int16_t>(data.GetData(), buffer.data(), count, factors);
                break;
            case 2:
                ScalePoints<float>(data.GetData(), buffer.data(), count, factors);
                break;
            case 3:
                ScalePoints<double>(data.GetData(), buffer.data(), count, factors);
                break;
            default:
                ScalePoints<int32_t>(data.GetData(), buffer.data(), count, factors);
                break;
        }
        int status = 0;
        Dicom_OB scaled(buffer.data(), static_cast<unsigned int>(buffer.size()), 1, &status);
        if (status != 0 || level.Set(CurveTag(0x3000, i), &scaled) != 0) {
            KVL_LOG(kSource, kFunction, 3, 19, "move_curves_by: Curve_Data can't be created\n");
            return;
        }
    }
}

}  // namespace

// --- indexes ---

int IOD_Msg::GetOverlayIndex() const {
    for (int i = 0; i < kIndexes; ++i)
        if (GetOverlayType_i(i) == CS_NULL) return i;
    KVL_LOG(kSource, "IOD_Msg::GetOverlayIndex", 4, 19, "GetOverlayIndex(): List is full\n");
    return -1;
}

int IOD_Msg::GetCurveIndex() const {
    for (int i = 0; i < kIndexes; ++i)
        if (GetTypeOfData_i(i) == CS_NULL) return i;
    KVL_LOG(kSource, "IOD_Msg::GetCurveIndex", 4, 19, "GetCurveIndex():List is full\n");
    return -1;
}

void IOD_Msg::RemoveGroupIndex(int missing_index, unsigned short group) {
    KVL_LOG(kSource, "IOD_Msg::RemoveGroupIndex", 7, 19, "Start RemoveGroupIndex: missing_index is:<%d>\n",
            missing_index);
    if (!ValidIndex("IOD_Msg::RemoveGroupIndex", missing_index, group)) return;
    const unsigned low = 2u * static_cast<unsigned>(missing_index);
    for (int i = GetNElements() - 1; i >= 0; --i) {
        const Dicom_ME* me = GetElement(i);
        if (me == nullptr) break;
        const Dicom_Tag tag = me->GetTag();
        const unsigned short g = tag.GetGroup();
        if ((g & 0xFF00) == group && ((g & 0xFFu) == low || (g & 0xFFu) == low + 1)) Remove(tag);
    }
}

void IOD_Msg::UpdateGroupIndex(int missing_index, unsigned short group) {
    KVL_LOG(kSource, "IOD_Msg::UpdateGroupIndex", 7, 19, "Start UpdateOverlaysIndex: missing_index is:<%d>\n",
            missing_index);
    if (!ValidIndex("IOD_Msg::UpdateGroupIndex", missing_index, group)) return;
    const unsigned low = 2u * static_cast<unsigned>(missing_index);
    // Private creator elements of a moved group: removed from their old group only once the walk
    // has left it, since the group's private elements are resolved through them.
    std::vector<Dicom_Tag> pending;
    unsigned short previous = 0;
    for (int i = 0; i < GetNElements(); ++i) {
        Dicom_ME* me = GetElement(i);
        if (me == nullptr) break;
        const Dicom_Tag tag = me->GetTag();
        const unsigned short g = tag.GetGroup();
        if (g != previous) {
            for (const Dicom_Tag& old : pending)
                if (Remove(old) == 0) --i;
            pending.clear();
            previous = g;
        }
        if ((g & 0xFF00) == group && (g & 0xFFu) > low) {
            const Dicom_Tag moved(static_cast<unsigned short>(g - 2), tag.GetElement(),
                                  tag.GetImplementorID());
            Set(moved, me->GetChangeableData());  // inserted before this element
            if (tag.IsPrivateImplementor()) {
                pending.push_back(tag);
                ++i;
            } else {
                Remove(tag);
            }
        }
    }
    for (const Dicom_Tag& old : pending) Remove(old);
}

// --- existence tests ---

int IOD_Msg::check_overlay_existence(int text, const Dicom_CS* type) const {
    int textSeen = 0, graphicSeen = 0;
    for (int i = 0; i < kIndexes; ++i) {
        const Dicom_CS overlayType = GetOverlayType_i(i);
        if (overlayType == CS_NULL) break;
        if (type != nullptr && overlayType != *type) continue;
        if (IsTextOverlay(*this, i))
            textSeen = 1;
        else
            graphicSeen = 1;
    }
    return text != 0 ? textSeen : graphicSeen;
}

int IOD_Msg::CheckOverlayExistence(const Dicom_CS* type) const { return check_overlay_existence(0, type); }

int IOD_Msg::CheckOverlayGraphicExistence() const { return check_overlay_existence(0, nullptr); }

int IOD_Msg::CheckOverlayTextExistence() const { return check_overlay_existence(1, nullptr); }

int IOD_Msg::CheckCurveExistence() const {
    // Index 0 of this message, then of the first item of its additional curves, and so on down.
    const Dicom_Msg* msg = this;
    for (;;) {
        if (ValueAs<Dicom_CS>(*msg, CurveTag(0x0020, 0)) != CS_NULL &&
            ValueAs<Dicom_US>(*msg, CurveTag(0x0005, 0)) != US_NULL &&
            ValueAs<Dicom_US>(*msg, CurveTag(0x0010, 0)) != US_NULL &&
            ValueAs<Dicom_US>(*msg, CurveTag(0x0103, 0)) != US_NULL &&
            ValueAs<Dicom_OB>(*msg, CurveTag(0x3000, 0)) != OB_NULL)
            return 1;
        const Dicom_SQ* more = SequenceOf(*msg, Dicom_Dictionary::KOVEL_ADDITIONAL_CURVES_SEQUENCE);
        if (more == nullptr || more->GetItem(0) == nullptr) return 0;
        msg = more->GetItem(0);
    }
}

void IOD_Msg::RemoveOverlayTexts() {
    int bound = kIndexes;
    for (int i = 0; i < bound; ++i) {
        if (GetOverlayType_i(i) == CS_NULL) return;
        if (IsTextOverlay(*this, i)) {
            RemoveGroupIndex(i, kOverlays);
            UpdateGroupIndex(i, kOverlays);
            --i;  // the index that moved down into place i is examined next
            --bound;
        }
    }
}

// --- scaling with the image: horizontal (column) factor x, vertical (row) factor y ---

void IOD_Msg::MoveShutterBy(double x, double y) {
    ScaleShutterValue(*this, &IOD_Msg::GetShutterLeftVerticalEdge, &IOD_Msg::SetShutterLeftVerticalEdge, x,
                      x);
    ScaleShutterValue(*this, &IOD_Msg::GetShutterRightVerticalEdge, &IOD_Msg::SetShutterRightVerticalEdge, x,
                      x);
    ScaleShutterValue(*this, &IOD_Msg::GetShutterUpperHorizontalEdge, &IOD_Msg::SetShutterUpperHorizontalEdge,
                      y, y);
    ScaleShutterValue(*this, &IOD_Msg::GetShutterLowerHorizontalEdge, &IOD_Msg::SetShutterLowerHorizontalEdge,
                      y, y);
    // Row first: (row, column) and (row, column) pairs. The radius is left as it is.
    ScaleShutterValue(*this, &IOD_Msg::GetCenterOfCircularShutter, &IOD_Msg::SetCenterOfCircularShutter, y,
                      x);
    const Dicom_IS vertices = GetVerticesOfThePlygonalShutter();
    if (vertices != IS_NULL && vertices.GetVM() == 1) {
        KVL_LOG(kSource, "IOD_Msg::MoveShutterBy", 4, 19, "Vertices do not have multiple values\n");
    } else {
        ScaleShutterValue(*this, &IOD_Msg::GetVerticesOfThePlygonalShutter,
                          &IOD_Msg::SetVerticesOfThePlygonalShutter, y, x);
    }
}

void IOD_Msg::MoveDisplayAreaSeqBy(double x, double y) {
    const Dicom_Tag topLeft(0x0070, 0x0052), bottomRight(0x0070, 0x0053);
    for (const Dicom_Tag& sequence :
         {Dicom_Tag(0x0070, 0x005A), Dicom_Tag(Dicom_Dictionary::KOVEL_DISPLAYED_AREA_SELECTION_SEQUENCE)}) {
        const Dicom_SQ* sq = ChangeableSequenceOf(*this, sequence);
        if (sq == nullptr || sq->GetNItems() != 1 || sq->GetItem(0) == nullptr) continue;
        Dicom_Msg& item = *sq->GetItem(0);
        const Dicom_Type* tl = item.Get(topLeft);
        const Dicom_Type* br = item.Get(bottomRight);
        if (tl == nullptr || br == nullptr || tl->GetVR() != Dicom_VR::SL || br->GetVR() != Dicom_VR::SL)
            continue;
        const Dicom_SL& a = *static_cast<const Dicom_SL*>(tl);
        const Dicom_SL& b = *static_cast<const Dicom_SL*>(br);
        if (a.Count() != 2 || b.Count() != 2) continue;
        Dicom_SL newTopLeft(std::vector<int>{Rounded(a.Get(0) * x), Rounded(a.Get(1) * y)});
        Dicom_SL newBottomRight(std::vector<int>{Rounded(b.Get(0) * x), Rounded(b.Get(1) * y)});
        item.Set(topLeft, &newTopLeft);
        item.Set(bottomRight, &newBottomRight);
    }
}

void IOD_Msg::MoveGraphicAnnotationSeqBy(double x, double y) {
    const Dicom_SQ* annotations = ChangeableSequenceOf(*this, Dicom_Tag(0x0070, 0x0001));
    if (annotations == nullptr) return;
    for (int i = 0; i < annotations->GetNItems(); ++i)
        if (Dicom_Msg* item = annotations->GetItem(i)) item->MoveTextObjectSeqBy(x, y);
}

void IOD_Msg::move_overlay_text_by(double x, double y) {
    for (int i = 0; i < kIndexes; ++i) {
        if (GetOverlayType_i(i) == CS_NULL) return;
        if (!IsTextOverlay(*this, i)) continue;
        // (row, column): the first value takes the vertical factor.
        std::vector<float> position = GetTextOverlayPosition_i(i).GetValues();
        for (size_t k = 0; k < position.size(); ++k)
            position[k] = ToFloat(position[k] * (k % 2 == 0 ? y : x));
        SetTextOverlayPosition_i(i, Dicom_FL(position));
    }
}

void IOD_Msg::move_curves_by(double x, double y) {
    ScaleCurvesOf(*this, x, y);
    // Then each item of the additional curves, one level per item.
    const Dicom_SQ* more = ChangeableSequenceOf(*this, Dicom_Dictionary::KOVEL_ADDITIONAL_CURVES_SEQUENCE);
    if (more == nullptr) return;
    for (int i = 0; i < more->GetNItems(); ++i)
        if (Dicom_Msg* item = more->GetItem(i)) ScaleCurvesOf(*item, x, y);
}
