// @ts-check
// The live page: connects the stream of the program with the parts of the page.
//
// What tests and style sheets may rely on:
//   html                 data-theme = light | dark; data-connection = connecting | open | lost; data-frozen while frozen
//   #headline            data-kind = connecting | opening | recording | streaming | unrecorded | away | ended | failed | lost,
//                        #headline-text, #headline-name (the file), #headline-detail, #headline-seconds (duration)
//   #alarms, #notices    [data-warning=ID] for each warning, data-state = active | over; ID "connection" is the page's own.
//                        #alarm-announcement is the live region (role alert): an alarm's text when it begins, not its changes
//   #summary             live region (polite): changes of states only
//   #gloves              [data-glove=LABEL] a card for each glove, data-state as in the protocol, with [data-field=...]:
//                        module, state, text, battery, framesPerSecond, lostShareNow, lostTotal, lostShare, latencyMs, gaps,
//                        longestGapMs, sensorFaults, rssi, sent, recorded; and [data-cause=...]: unheard ... discarded
//   #recording           data-kind = recorded | nothing, with [data-field=...]: file, seconds, records, recordsPerSecondNow,
//                        bytes, freeBytes, secondsLeft, markers, reconnections, stalls, books; #limit (progress)
//   #marker-text, #marker-set, #marker-feedback (data-kind = set | error)
//   #events              li[data-number][data-event], newest first; .event-time, .event-name, .event-detail
//   #curve-seconds, #scale-automatic, #scale-fixed, #scale-low, #scale-high, #scale-error
//   #freeze (aria-pressed), #frozen (what is said meanwhile), #theme, #keys-open, #keys (dialog), #keys-on
//   #hands, #curves      the containers of Hands and Curves; #reading: the value under the pointer
//   #values              details with #values-table: td[data-glove=LABEL][data-region=NAME], once a second while open
// Colours for pictures are custom properties of html: --page --panel --ink --muted --line --accent --alarm --marker.
