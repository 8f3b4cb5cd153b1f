// The title of a picture, and the facts of the recording below it.
#pragma once

#include "host/plot/Picture.h"
#include "host/plot/Svg.h"
#include "host/recording/Recording.h"

void drawHead(Svg& svg, const Recording& recording, const PictureOptions& options, double left);
