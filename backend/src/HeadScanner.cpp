#include "HeadScanner.h"

namespace vorna::backend {

HeadScanner::Result HeadScanner::scan(std::string_view head) {
    while (result_ == Result::Partial && scanned_ < head.size()) {
        if (scanned_ >= limits_.maxBytes) {
            result_ = Result::TooLarge;
            break;
        }
        const char c = head[scanned_++];
        if (c != '\n') {
            // The line with its '\n' must fit, as httplib measures it.
            if (++lineBytes_ >= limits_.maxLineBytes) {
                result_ = lines_ == 0 ? Result::RequestLineTooLong : Result::LineTooLong;
            }
            continue;
        }
        // httplib ends the header lines at the first line that is only "\r\n"; a line that
        // ends in a bare '\n' is an ordinary (invalid, skipped) line to it.
        const bool blank = lineBytes_ == 1 && head[scanned_ - 2] == '\r';
        if (blank && lines_ > 0) {
            result_ = Result::Complete;
            break;
        }
        lineBytes_ = 0;
        if (++lines_ > limits_.maxHeaderLines + 1) {
            result_ = Result::TooManyLines;
        }
    }
    return result_;
}

}  // namespace vorna::backend
