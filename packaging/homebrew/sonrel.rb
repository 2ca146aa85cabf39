# SPDX-License-Identifier: MIT
# Untried: written from parts of the Formula Cookbook, never installed by brew. The project has no public address yet;
# whoever publishes it sets homepage, url, sha256 and head. Linux only: the build uses options of GNU ld.
class Sonrel < Formula
  desc "Mix, sync and measure timelines of recordings"
  homepage "https://sonrel.example/"
  url "https://sonrel.example/sonrel-0.1.0.tar.gz"
  sha256 "0000000000000000000000000000000000000000000000000000000000000000"
  license "MIT"
  head "https://sonrel.example/sonrel.git", branch: "main"

  depends_on "cli11" => :build
  depends_on "cmake" => :build
  depends_on "ninja" => :build
  depends_on "nlohmann-json" => :build
  depends_on "pkgconf" => [:build, :test]
  depends_on "boost"
  depends_on "ffmpeg"
  depends_on "freetype"
  depends_on "libsndfile"
  depends_on "libzip"
  depends_on :linux
  depends_on "qt@5"
  depends_on "sdl2"
  depends_on "sqlite"
  depends_on "xxhash"

  def install
    args = %w[
      -DSONREL_BUILD_EXAMPLES=OFF
      -DSONREL_BUILD_PYTHON=OFF
      -DSONREL_BUILD_TESTS=OFF
    ]
    system "cmake", "-S", ".", "-B", "build", "-G", "Ninja", *args, *std_cmake_args
    system "cmake", "--build", "build"
    system "cmake", "--install", "build"
  end

  test do
    # A second of silence: 48000 stereo frames of 16 bits.
    size = 192_000
    header = ["RIFF", size + 36, "WAVE", "fmt ", 16, 1, 2, 48_000, 192_000, 4, 16, "data", size]
    (testpath/"silence.wav").binwrite(header.pack("a4Va4a4VvvVVvva4V") + ("\0" * size))
    assert_match version.to_s, shell_output("#{bin}/sonrel --version")
    assert_match "loudness", shell_output("#{bin}/sonrel loudness silence.wav")
    assert_match "-lsonrel", shell_output("pkgconf --libs sonrel")
  end
end
