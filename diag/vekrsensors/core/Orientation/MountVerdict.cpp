#include "MountVerdict.h"

#include <cmath>

namespace vekrsensors {
namespace {

using libOrra::iio::Matrix3;

Matrix3 multiply(const Matrix3& a, const Matrix3& b) {
    Matrix3 out{};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            for (int k = 0; k < 3; ++k)
                out[r * 3 + c] += a[r * 3 + k] * b[k * 3 + c];
        }
    }
    return out;
}

// The matrix whose columns are the three poses' directions.
Matrix3 columns(const std::array<SignedAxis, 3>& poses) {
    Matrix3 m{};
    for (int c = 0; c < 3; ++c)
        m[poses[c].axis * 3 + c] = poses[c].sign;
    return m;
}

Matrix3 transposed(const Matrix3& m) {
    Matrix3 t{};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            t[c * 3 + r] = m[r * 3 + c];
    }
    return t;
}

}  // namespace

MountVerdict judgeMount(const std::array<SignedAxis, 3>& read, const Matrix3& applied) {
    MountVerdict v;
    if (read == kExpectedPoses)
        return v;
    const SignedAxis flippedZ{kExpectedPoses[2].axis, -kExpectedPoses[2].sign};
    v.kind = read[0] == kExpectedPoses[0] && read[1] == kExpectedPoses[1] && read[2] == flippedZ
                 ? MountVerdict::Kind::Warn
                 : MountVerdict::Kind::Fail;
    // The poses read C = applied x S x E, where E holds the expected directions and S takes
    // the device's axes to the sensor's. The matrix that reads E from raw values is S's
    // inverse: E x C^-1 x applied. C is a signed permutation, so its inverse is its transpose.
    v.proposed = multiply(multiply(columns(kExpectedPoses), transposed(columns(read))), applied);
    return v;
}

std::string matrixText(const Matrix3& m) {
    std::string text;
    for (int i = 0; i < 9; ++i) {
        const double rounded = std::round(m[i] * 1000.0) / 1000.0;
        std::string number = std::to_string(rounded);
        number.erase(number.find_last_not_of('0') + 1);
        if (number.back() == '.')
            number.pop_back();
        if (number == "-0")
            number = "0";
        text += number;
        if (i < 8)
            text += i % 3 == 2 ? "; " : ", ";
    }
    return text;
}

std::string hwdbStanza(const libOrra::Mounting& m, const Matrix3& matrix) {
    const std::string& dmi = m.dmiModalias;
    std::string text = "# ";
    text.append(m.machine.empty() ? m.dmiVendor + " " + m.dmiProduct : m.machine);
    const bool placeholders =
        libOrra::dmiPlaceholder(m.dmiVendor) || libOrra::dmiPlaceholder(m.dmiProduct);
    const std::string bios = libOrra::dmiModaliasField(dmi, "bvr");
    if (placeholders && !bios.empty()) {
        text.append(" (BIOS ").append(bios).append(" of ");
        text.append(libOrra::dmiModaliasField(dmi, "bd")).append(")");
    }
    text.append("\nsensor:");
    if (!m.label.empty())
        text.append(m.label).append(":");
    text.append("modalias:").append(m.parentModalias).append("*:dmi:");
    if (placeholders && !bios.empty()) {
        // The hwdb's own way for such tablets: BIOS vendor, version and date, then '*' before
        // svn, where kernels since 5.8 put the BIOS release.
        text.append("bvn").append(libOrra::dmiModaliasField(dmi, "bvn"));
        text.append(":bvr").append(bios);
        text.append(":bd").append(libOrra::dmiModaliasField(dmi, "bd")).append(":*");
    } else {
        text.append("*:");
    }
    text.append("svn").append(m.dmiVendor).append(":pn").append(m.dmiProduct).append(":*\n");
    return text.append(" ACCEL_MOUNT_MATRIX=").append(matrixText(matrix)).append("\n");
}

}  // namespace vekrsensors
