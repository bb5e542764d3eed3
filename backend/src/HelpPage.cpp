#include "HelpPage.h"

namespace vorna::backend {

const std::string& helpPageHtml() {
    static const std::string page = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>How to report better bugs</title>
<style>
  body { font-family: system-ui, sans-serif; max-width: 40rem; margin: 2rem auto; padding: 0 1rem;
         color: #313030; line-height: 1.5; }
  h1 { color: #1144f1; font-size: 1.6rem; }
  li { margin-bottom: .6rem; }
  code { background: #e7ecf2; padding: 0 .25rem; border-radius: 3px; }
</style>
</head>
<body>
<h1>How to report better bugs</h1>
<p>A good report lets a developer see the bug without asking you anything. The kit already
sends the screen, the device's facts and its last minute of CPU, memory, battery and network:
what only you can add is what you did and what you expected.</p>
<ol>
  <li><strong>Mark the bug on the picture.</strong> Circle the wrong value, strike through the
  button that did nothing. Pick black or white where red would not stand out.</li>
  <li><strong>Say what you did, step by step.</strong> "Opened order 1042, changed the quantity
  to 3, pressed Save" beats "saving is broken".</li>
  <li><strong>Say what you expected and what happened instead.</strong> "Expected the total to
  read 36.00; it still reads 12.00."</li>
  <li><strong>Say whether it happens again.</strong> Always, sometimes, once: each tells the
  developer something different.</li>
  <li><strong>Leave your e-mail</strong> if you can answer a question about it. It is optional
  and kept with this one report.</li>
</ol>
<p>Before you submit, <em>Inspect Bug</em> shows everything the report carries.</p>
</body>
</html>
)";
    return page;
}

}  // namespace vorna::backend
