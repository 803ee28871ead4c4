#include "VideoAnalysis/Player/PlaybackRate.h"

#include <cmath>
#include <cstdlib>

namespace videoanalysis {

float rateFromTitle(const std::string& title) {
    static constexpr char digits[] = "0123456789";
    const std::size_t first = title.find_first_of(digits);
    if (first == std::string::npos) return 1.0F;
    const std::string number = title.substr(first, title.find_last_of(digits) - first + 1);
    if (number.find_first_not_of("0123456789.") != std::string::npos || number.find('.') != number.rfind('.'))
        return 1.0F;
    const std::size_t point = number.find('.');
    double value = std::strtod(number.substr(0, point).c_str(), nullptr);
    if (point != std::string::npos) {
        double unit = 0.1;
        for (std::size_t i = point + 1; i < number.size(); ++i, unit /= 10) value += unit * (number[i] - '0');
    }
    return static_cast<float>(value);
}

std::string titleForRate(float rate) {
    const long long hundredths = std::llround(static_cast<double>(rate) * 100);
    std::string text = std::to_string(hundredths / 100);
    if (const long long fraction = std::llabs(hundredths % 100)) {
        text += '.';
        text += static_cast<char>('0' + fraction / 10);
        if (fraction % 10) text += static_cast<char>('0' + fraction % 10);
    }
    return text + "x";
}

}  // namespace videoanalysis
