// The preview pane: a draw against the platform's own calls for it, and what the pointer's tools add to one.
#include "bench/bench.h"
#include "platform/gdiplus_owners.h"
#include "resources/resource_ids.h"
#include "tests/support/platform_faults.h"

namespace gdip = Gdiplus::DllExports;

namespace {

int g_loads = 0;
decltype(&gdip::GdipLoadImageFromFile) g_load = nullptr;

// Every load of an image file comes here: that is how often a page is decoded to be shown.
Gdiplus::GpStatus WINGDIPAPI CountLoad(GDIPCONST WCHAR* path, Gdiplus::GpImage** image) {
  ++g_loads;
  return g_load(path, image);
}

}  // namespace

namespace bench {
namespace {

constexpr const char* kBareDraw = "load, measure, one draw, dispose";

// What the pane shows of the page.
struct View {
  double zoom = 0.0;
  int x = 0;
  int y = 0;
};

// The picture that DrawPreviewImage has to show, by nothing but the calls for it.
void BareDraw(const BenchDialog& d, const View& view) {
  const HWND pane = GetDlgItem(d.m_hDlg, IDC_PREVIEW_PANE);
  const HDC context = GetDC(pane);
  Gdiplus::GpGraphics* graphics = nullptr;
  Gdiplus::GpImage* image = nullptr;
  gdip::GdipCreateFromHDC(context, &graphics);
  gdip::GdipLoadImageFromFile(d.m_wstrPreviewFile, &image);
  Gdiplus::REAL dpi = 0;
  UINT size = 0;
  gdip::GdipGetImageHorizontalResolution(image, &dpi);
  gdip::GdipGetImageVerticalResolution(image, &dpi);
  gdip::GdipGetImageWidth(image, &size);
  gdip::GdipGetImageHeight(image, &size);
  gdip::GdipDrawImageRectRectI(graphics, image, 0, 0, d.m_rcPane.width(), d.m_rcPane.height(), view.x, view.y,
                               static_cast<INT>(d.m_rcPane.width() / view.zoom),
                               static_cast<INT>(d.m_rcPane.height() / view.zoom), Gdiplus::UnitPixel, nullptr, nullptr,
                               nullptr);
  gdip::GdipDisposeImage(image);
  gdip::GdipDeleteGraphics(graphics);
  ReleaseDC(pane, context);
}

// A copy, since the dialog rewrites its preview file.
void Load(BenchDialog& d, const Page& page, const std::wstring& folder) {
  const std::wstring copy = folder + L"\\preview.jpg";
  CopyFileW(page.file.c_str(), copy.c_str(), FALSE);
  d.UpdatePreviewImage(copy.c_str());
  harness::HandleMessages(d.m_hDlg);
}

void MeasureDraws(BenchDialog& d, std::span<const Page> pages, const std::wstring& folder) {
  constexpr double kZoom = preview::kScaleAt100Percent;
  for (const Page& page : pages) {
    Load(d, page, folder);
    d.m_nScrollX = 300;
    d.m_nScrollY = 400;
    // The dialog's pending paint would be a second draw: what is drawn is shown between the measurements.
    PrintFigure("draw, " + page.name, kBareDraw,
                Compare(page.dpi < 600 ? 15 : 9,
                        Whole([&] { d.DrawPreviewImage(d.m_hDlg, 0, 0, PreviewDrawMode::DrawZoom, kZoom); }),
                        Whole([&] { BareDraw(d, {kZoom, d.m_nScrollX, d.m_nScrollY}); }),
                        [&] { harness::HandleMessages(d.m_hDlg); }),
                1.05);
  }
}

LPARAM PaneAt(const BenchDialog& d, int x, int y) { return MAKELPARAM(d.m_rcPane.left + x, d.m_rcPane.top + y); }

// A step of the user's, forward and back in turn, and everything that it sets in motion, against one draw of the view
// that it leads to; and the number of decodes.
void MeasureStep(BenchDialog& d, const std::string& name, double target, const std::function<void(bool)>& step) {
  View views[2];
  std::vector<double> loads;
  int steps = 0;
  const auto ours = [&] {
    const bool forward = steps++ % 2 == 0;
    const int before = g_loads;
    step(forward);
    harness::HandleMessages(d.m_hDlg);
    loads.push_back(g_loads - before);
    views[forward] = {d.m_dZoom, d.m_nScrollX, d.m_nScrollY};
  };
  ours();
  ours();
  const std::vector<double> ratios = Compare(40, Whole(ours), [&](int round) {
    return Seconds([&] {
      BareDraw(d, views[round % 2 == 0]);
      harness::HandleMessages(d.m_hDlg);
    });
  });
  PrintFigure(name, kBareDraw, ratios, target);
  PrintFigure(name + ": decodes", "one", loads, 1.0);
}

void MeasureSteps(BenchDialog& d, const Page& page, const std::wstring& folder) {
  Load(d, page, folder);
  d.OnCommand(d.m_hDlg, IDC_TOOL_PAN, 0);
  SendMessageW(d.m_hDlg, WM_MOUSEMOVE, 0, PaneAt(d, 100, 100));
  SendMessageW(d.m_hDlg, WM_LBUTTONDOWN, 0, PaneAt(d, 100, 100));
  MeasureStep(d, "pan move", 1.1, [&](bool forward) {
    SendMessageW(d.m_hDlg, WM_MOUSEMOVE, MK_LBUTTON, forward ? PaneAt(d, 95, 90) : PaneAt(d, 100, 100));
  });
  SendMessageW(d.m_hDlg, WM_LBUTTONUP, 0, PaneAt(d, 100, 100));
  const HWND vertical = GetDlgItem(d.m_hDlg, IDC_VERTICAL_SCROLL);
  MeasureStep(d, "scroll step", 1.1, [&](bool forward) {
    SendMessageW(d.m_hDlg, WM_VSCROLL, forward ? SB_LINEDOWN : SB_LINEUP, reinterpret_cast<LPARAM>(vertical));
  });
}

// Milliseconds of one movement that drags the frame, with everything that follows it on the screen.
double DragMilliseconds(BenchDialog& d, const Page& page, const std::wstring& folder) {
  constexpr int kMoves = 200;
  Load(d, page, folder);
  d.OnCommand(d.m_hDlg, IDC_TOOL_SELECT, 0);
  SendMessageW(d.m_hDlg, WM_MOUSEMOVE, 0, PaneAt(d, 5, 5));
  SendMessageW(d.m_hDlg, WM_LBUTTONDOWN, 0, PaneAt(d, 5, 5));
  const double seconds = Seconds([&] {
    for (int i = 0; i < kMoves; ++i) {
      SendMessageW(d.m_hDlg, WM_MOUSEMOVE, MK_LBUTTON, PaneAt(d, 20 + i % 50, 30 + i % 40));
      harness::HandleMessages(d.m_hDlg);
    }
  });
  SendMessageW(d.m_hDlg, WM_LBUTTONUP, 0, PaneAt(d, 50, 50));
  return 1000 * seconds / kMoves;
}

void MeasureDrag(BenchDialog& d, std::span<const Page> pages, const std::wstring& folder) {
  std::vector<double> large;
  std::vector<double> ratios;
  for (int i = 0; i < 7; ++i) {
    const double small = DragMilliseconds(d, FindPage(pages, "A4 75 dpi, noise"), folder);
    large.push_back(DragMilliseconds(d, FindPage(pages, "A4 300 dpi, noise"), folder));
    ratios.push_back(large.back() / small);
  }
  PrintFigure("move dragging the frame, A4 300 dpi", "one millisecond", large, 1.0);
  PrintFigure("move dragging the frame, A4 300 dpi", "the same, A4 75 dpi", ratios, 1.2);
}

}  // namespace

void MeasurePreview(std::span<const Page> pages, const std::wstring& folder) {
  void* const load = harness::ReplaceImport("GdipLoadImageFromFile", reinterpret_cast<void*>(&CountLoad));
  g_load = reinterpret_cast<decltype(g_load)>(load);
  DEVICEDIALOGDATA2 request = {};
  BenchDialog dialog;
  dialog.Run(request, [&](BenchDialog& d) {
    SetCursorPos(0, 0);
    MeasureDraws(d, pages, folder);
    MeasureSteps(d, FindPage(pages, "A4 200 dpi, noise"), folder);
    MeasureDrag(d, pages, folder);
  });
}

}  // namespace bench
