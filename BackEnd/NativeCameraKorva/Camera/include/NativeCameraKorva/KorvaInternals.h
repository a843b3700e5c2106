#pragma once
// One camera's working state: exposure, pixel buffer, and who is told of the camera's health.

#include "VantrelCommon/NetworkHealth.h"

#include <cstdint>
#include <memory>

class Image;
class NativeCamera;

/// Belongs to the camera's imaging interfaces, which share it. It holds no lock: one thread at a time, and no
/// two operations of one camera overlap. Its operations let no exception out; a failure is an error line and
/// a health report. The health callback is called on the calling thread. It may replace itself.
class KorvaInternals {
public:
    /// `camera`, a KorvaCamera, outlives this object; its description is logged. Sets the exposure time
    /// 150000.
    explicit KorvaInternals(NativeCamera* camera);
    KorvaInternals(const KorvaInternals&) = delete;
    KorvaInternals& operator=(const KorvaInternals&) = delete;
    ~KorvaInternals();

    /// Sets the exposure, `time` in units of 10 microseconds, which the camera gets in units of 100 ms:
    /// (time x 10) / 100000 in wrapping 32-bit arithmetic, of which the low 16 bits, read as unsigned, are
    /// clamped to 1 to 3600. So a negative time deliberately becomes a long exposure.
    void setExposureTime(int time);

    /// As last set, not as clamped.
    int getExposureTime() const { return exposureTime_; }

    /// Takes a picture: 8-bit grey pixels, as many as the camera's resolution has, in a buffer that belongs
    /// to this object and that the next picture overwrites. It is allocated by the first picture and stays
    /// where it is. Of a larger picture its first pixels, with a warn line; one with fewer pixels, or with
    /// none at all, is no picture.
    ///
    /// Reports pictureCaptured. Null if there is no picture, after an error line and the report
    /// captureFailed; that is also the outcome where the report of the picture throws.
    void* getImaging1Image();

    /// Asks the camera whether it answers. False after an error line and the report connectionCheckFailed.
    bool validateConnection();

    /// Replaces the callback; an empty one ends the reports.
    void setNetworkHealthCallback(NetworkHealthCallback callback);

    /// The developer setting "KorvaGetImageDelay" as it was at construction. It changes nothing at present.
    bool hasGetImageDelay() const { return getImageDelay_; }

private:
    void* takePicture();
    bool keepPixels(Image& picture);
    bool probe();
    void report(int code) const;
    void reportFailure(int code) const noexcept;

    NativeCamera* camera_;
    std::shared_ptr<const NetworkHealthCallback> networkHealthCallback_; ///< null or empty for nobody
    std::unique_ptr<unsigned char[]> pixels_;
    std::uint16_t exposureUnits_ = 1; ///< of 100 ms
    std::int32_t exposureTime_ = 0;
    bool getImageDelay_;
};
